#include "supportbundle/zip/zip.h"

#include "console/console.h"
#include "logger/log.h"
#include "supportbundle/zip/internal/file_source.h"
#include "system_win32/file_system.h"
#include "winconv/convert.h"
#include "winconv/owned.h"

#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>
#include <mz_zip_rw.h>

#include <limits>
#include <type_traits>

namespace Zip {

namespace {

constexpr std::uint16_t made_by_ntfs_4_5 = 0x0A2D;
constexpr std::uint16_t utf8_name_flag = 0x0800;
constexpr std::uint16_t deflate = 8;
constexpr std::int16_t best_level = 9;

void delete_writer(void* writer) noexcept {
    mz_zip_writer_delete(&writer);
}
using ZipWriter = WinConv::Owned<void*, delete_writer>;

// The library's creation function takes a pointer to fill up to version 3 and returns the writer since.
template <typename Create>
ZipWriter create_writer(Create create) {
    if constexpr (std::is_invocable_v<Create>) {
        return ZipWriter(create());
    } else {
        void* writer = nullptr;
        create(&writer);
        return ZipWriter(writer);
    }
}

mz_zip_file header_of(const Member& member) {
    mz_zip_file header{};
    header.version_madeby = made_by_ntfs_4_5;
    header.flag = utf8_name_flag;
    header.compression_method = deflate;
    header.modified_date = member.modified;
    header.filename = member.name;
    return header;
}

std::string narrow(const std::filesystem::path& path) {
    return WinConv::native_to_utf8(path.native());
}

std::int32_t add_source(void* writer, const std::filesystem::path& file, const std::string& name) {
    FileSource source(file);
    if (!source.is_open()) {
        return MZ_OPEN_ERROR;
    }
    mz_zip_file header = header_of({name.c_str(), source.modified()});
    header.accessed_date = source.accessed();
    header.creation_date = source.created();
    header.uncompressed_size = source.size();
    header.external_fa = source.attributes();
    const auto read = [](void* stream, void* buffer, std::int32_t size) {
        return static_cast<FileSource*>(stream)->read(buffer, size);
    };
    return mz_zip_writer_add_info(writer, &source, read, &header);
}

static_assert(ok == MZ_OK);

} // namespace

std::int32_t zip_add_text(void* writer, const Member& member, std::string_view text) {
    if (writer == nullptr || text.size() > std::numeric_limits<std::int32_t>::max()) {
        return MZ_PARAM_ERROR;
    }
    std::string bytes(text);
    mz_zip_file header = header_of(member);
    return mz_zip_writer_add_buffer(writer, bytes.data(), static_cast<std::int32_t>(bytes.size()), &header);
}

OpenMember::OpenMember(void* writer, const Member& member) : writer_(writer) {
    mz_zip_file header = header_of(member);
    result_ = mz_zip_writer_entry_open(writer, &header);
}

OpenMember::~OpenMember() {
    if (result_ == MZ_OK) {
        mz_zip_writer_entry_close(writer_);
    }
}

bool zip_add_file(void* writer, const std::filesystem::path& file, const std::optional<std::string>& member_name) {
    const std::string name = member_name.value_or(narrow(file));
    if (!System::path_exists(file)) {
        LOG_DEBUG(Logger::main, "file does not exist: {}", narrow(file));
        return true;
    }
    const std::int32_t result = add_source(writer, file, member_name.value_or(narrow(file.filename())));
    if (result != MZ_OK) {
        LOG_ERROR(Logger::main, "mz error adding file {} to zip: {}", name, mz_error_name(result));
        return false;
    }
    LOG_DEBUG(Logger::main, "successfully added file to zip: {}", name);
    return true;
}

bool write_zip(const std::filesystem::path& path, const std::vector<MemberProducer>& producers) {
    const ZipWriter writer = create_writer(mz_zip_writer_create);
    mz_zip_writer_set_compress_method(writer.get(), deflate);
    mz_zip_writer_set_compress_level(writer.get(), best_level);
    const std::int32_t opened =
        mz_zip_writer_open_file(writer.get(), narrow(System::extended_path(path)).c_str(), 0, 0);
    if (opened != MZ_OK) {
        LOG_CRITICAL(Logger::main, "failed to open zip_writer on file at {} with err {}", narrow(path),
                     mz_error_name(opened));
        Logger::flush();
        Console::print("Please try operation again using administrator-level permissions.\n");
        return false;
    }
    bool all_good = true;
    for (const MemberProducer& produce : producers) {
        all_good = produce(writer.get()) && all_good;
    }
    mz_zip_writer_close(writer.get());
    return all_good;
}

} // namespace Zip
