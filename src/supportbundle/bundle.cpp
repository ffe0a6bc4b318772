#include "supportbundle/bundle.h"

#include "logger/log.h"
#include "logzipper_win32/log_zipper.h"
#include "supportbundle/metadata.h"
#include "supportbundle/zip.h"
#include "svcquery_win32/service.h"
#include "system_win32/file_system.h"
#include "system_win32/paths.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <windows.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <map>

namespace SupportBundle {

namespace {

// File paths by member name.
using MemberFiles = std::map<std::string, std::filesystem::path>;

bool zip_add_service_status(void* writer, const mz_zip_file& header) {
    const auto status = Service::query_corvel_service_status();
    if (!status.has_value()) {
        LOG_ERROR(Logger::main, "{}", status.error());
        return false;
    }
    const std::int32_t result = zip_add_text(writer, header, status.value());
    if (result != MZ_OK) {
        LOG_ERROR(Logger::main, "mz error {} adding corvel service status to zip", mz_error_name(result));
        return false;
    }
    LOG_DEBUG(Logger::main, "successfully wrote {} bytes adding corvel service status to zip", status.value().size());
    return true;
}

MemberProducer file_producer(const std::filesystem::path& file, std::optional<std::string> member_name) {
    return
        [file, member_name = std::move(member_name)](void* writer) { return zip_add_file(writer, file, member_name); };
}

// Of two files of one name, the one found first is kept.
void find_error_logs(const std::filesystem::path& folder, const wchar_t* except, MemberFiles& logs) {
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    if (error) {
        throw std::filesystem::filesystem_error("directory_iterator::directory_iterator", folder, error);
    }
    for (const auto& entry : entries) {
        const auto& path = entry.path();
        if (path.extension() == L".log" && path.filename() != except && !entry.is_directory()) {
            logs.emplace(WinConv::native_to_utf8(path.filename().native()), path);
        }
    }
}

void add_files(const MemberFiles& files, std::vector<MemberProducer>& list) {
    for (const auto& [name, path] : files) {
        list.push_back(file_producer(path, name));
    }
}

void zip_add_os_update_logs(std::vector<MemberProducer>& list) {
    add_files(LogZipper::zip_generate_os_update_logs(), list);
}

void zip_package_error_logs(const std::filesystem::path& program_data, std::vector<MemberProducer>& list) {
    MemberFiles logs;
    const auto scratch = System::get_temp_directory(false);
    if (System::path_exists(scratch)) {
        find_error_logs(scratch, L"", logs);
    }
    find_error_logs(program_data, L"update.log", logs);
    add_files(logs, list);
}

std::vector<MemberProducer> producers(bool exclude_wu) {
    const std::time_t now = std::time(nullptr);
    const auto config_file = System::get_config_file_path();
    const auto program_data = config_file.parent_path();
    const auto in_memory = [now](auto* produce, const char* name) -> MemberProducer {
        return [produce, header = entry_header(name, now)](void* writer) { return produce(writer, header); };
    };
    std::vector<MemberProducer> list = {
        in_memory(LogZipper::zip_add_corvel_syslog, "corvel_syslog.txt"),
        in_memory(zip_add_agent_metadata, "corvel_metadata.txt"),
        in_memory(zip_add_service_status, "corvel_svcstatus.txt"),
        file_producer(config_file, std::nullopt),
        file_producer(program_data / L"update.log", std::nullopt),
    };
    if (!exclude_wu) {
        zip_add_os_update_logs(list);
    }
    zip_package_error_logs(program_data, list);
    return list;
}

std::filesystem::path bundle_path() {
    const std::string name =
        fmt::format("{}_{:%Y-%m-%d_%H-%M-%S}.zip", "corvel-support-bundle", fmt::gmtime(std::time(nullptr)));
    return std::filesystem::current_path() / WinConv::utf8_to_native(name);
}

} // namespace

bool create_support_bundle(bool exclude_wu) {
    const std::vector<MemberProducer> list = producers(exclude_wu);
    const auto path = bundle_path();
    fmt::print("creating corvel support bundle at: {}\n", WinConv::native_to_utf8(path.native()));
    const bool good = write_zip(path, list);
    fmt::print("{}", good ? "SUCCESS writing corvel support bundle\n" : "ERROR while writing corvel support bundle\n");
    return good;
}

} // namespace SupportBundle
