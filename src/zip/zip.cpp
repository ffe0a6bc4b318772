#include "zip/zip.h"

#include "console/console.h"
#include "files/file_system.h"
#include "logger/log.h"
#include "winconv/convert.h"
#include "zip/internal/file_source.h"
#include "zip/internal/writer.h"

#include <mz.h>
#include <mz_zip.h>

#include <array>

namespace Zip {

namespace {

mz_zip_file header_of(const Member& member) {
    mz_zip_file header{};
    header.modified_date = member.modified;
    header.filename = member.name;
    return header;
}

std::string narrow(const std::filesystem::path& path) {
    return WinConv::native_to_utf8(path.native());
}

std::int32_t copy_content(Writer& writer, FileSource& source) {
    std::array<char, 32768> chunk{};
    for (;;) {
        const std::int32_t count = source.read(chunk);
        if (count <= 0) {
            const std::int32_t closed = writer.close_member();
            return count < 0 ? count : closed;
        }
        if (const std::int32_t result = writer.write({chunk.data(), static_cast<std::size_t>(count)});
            result != MZ_OK) {
            return result;
        }
    }
}

std::int32_t add_source(Writer& writer, FileSource& source, const std::string& name) {
    mz_zip_file header = header_of({name.c_str(), source.modified()});
    header.accessed_date = source.accessed();
    header.creation_date = source.created();
    header.external_fa = source.attributes();
    const std::int32_t opened = writer.open_member(header);
    return opened == MZ_OK ? copy_content(writer, source) : opened;
}

static_assert(ok == MZ_OK);

} // namespace

bool zip_add_text(Writer& writer, const Member& member, std::string_view text, const char* what) {
    OpenMember opened(writer, member);
    std::int32_t result = opened.write(text);
    if (result == MZ_OK) {
        result = opened.close();
    }
    if (result != MZ_OK) {
        LOG_ERROR(Logger::main, "mz error {} adding {} to zip", mz_error_name(result), what);
        return false;
    }
    LOG_DEBUG(Logger::main, "successfully wrote {} bytes adding {} to zip", text.size(), what);
    return true;
}

OpenMember::OpenMember(Writer& writer, const Member& member)
    : writer_(writer), result_(writer.open_member(header_of(member))), open_(result_ == MZ_OK) {}

OpenMember::~OpenMember() {
    static_cast<void>(close());
}

std::int32_t OpenMember::write(std::string_view bytes) {
    if (open_) {
        result_ = writer_.write(bytes);
        open_ = result_ == MZ_OK;
    }
    return result_;
}

std::int32_t OpenMember::close() {
    if (open_) {
        result_ = writer_.close_member();
        open_ = false;
    }
    return result_;
}

bool zip_add_file(Writer& writer, const std::filesystem::path& file, const std::optional<std::string>& member_name) {
    FileSource source;
    if (Files::path_exists(file)) {
        source.open(file);
    }
    // The file may have been deleted since, or be a link whose target is missing.
    if (source.is_absent()) {
        LOG_DEBUG(Logger::main, "file does not exist: {}", narrow(file));
        return true;
    }
    const std::int32_t result =
        source.is_open() ? add_source(writer, source, member_name.value_or(narrow(file.filename()))) : MZ_OPEN_ERROR;
    const std::string name = member_name.value_or(narrow(file));
    if (result != MZ_OK) {
        LOG_ERROR(Logger::main, "mz error adding file {} to zip: {}", name, mz_error_name(result));
        return false;
    }
    LOG_DEBUG(Logger::main, "successfully added file to zip: {}", name);
    return true;
}

bool write_zip(const std::filesystem::path& path, const std::vector<MemberProducer>& producers) {
    Writer writer;
    if (const std::int32_t opened = writer.open(path); opened != MZ_OK) {
        LOG_CRITICAL(Logger::main, "failed to open zip_writer on file at {} with err {}", narrow(path),
                     mz_error_name(opened));
        Logger::flush();
        Console::print("Please try operation again using administrator-level permissions.\n");
        return false;
    }
    bool all_good = true;
    for (const MemberProducer& produce : producers) {
        all_good = produce(writer) && all_good;
    }
    if (const std::int32_t closed = writer.close(); closed != MZ_OK) {
        LOG_ERROR(Logger::main, "failed to close zip_writer on file at {} with err {}", narrow(path),
                  mz_error_name(closed));
        return false;
    }
    return all_good;
}

} // namespace Zip
