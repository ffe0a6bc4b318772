#include "supportbundle/bundle.h"

#include "console/console.h"
#include "files/file_system.h"
#include "files/paths.h"
#include "logger/log.h"
#include "logzipper_win32/event_log.h"
#include "logzipper_win32/update_logs.h"
#include "supportbundle/metadata.h"
#include "svcquery_win32/service.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"
#include "zip/zip.h"

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

bool zip_add_service_status(Zip::Writer& writer, const Zip::Member& member) {
    const auto status = Service::query_corvel_service_status();
    if (!status.has_value()) {
        LOG_ERROR(Logger::main, "{}", status.error().text);
        return false;
    }
    return Zip::zip_add_text(writer, member, status.value(), "corvel service status");
}

Zip::MemberProducer file_producer(const std::filesystem::path& file, std::optional<std::string> member_name) {
    return [file, member_name = std::move(member_name)](Zip::Writer& writer) {
        return Zip::zip_add_file(writer, file, member_name);
    };
}

bool is_error_log(const std::filesystem::path& file, const wchar_t* except) {
    return file.extension() == L".log" && file.filename() != except;
}

// Adds the logs in the folder, except the one with the given name, by file name. An entry that exists already is kept.
void find_error_logs(const std::filesystem::path& folder, const wchar_t* except, MemberFiles& logs) {
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    if (error) {
        throw std::filesystem::filesystem_error("directory_iterator::directory_iterator", folder, error);
    }
    for (const auto& entry : entries) {
        // For a log that is just being deleted, is_directory() fails; the log is added all the same.
        if (is_error_log(entry.path(), except) && !entry.is_directory(error)) {
            logs.emplace(WinConv::native_to_utf8(entry.path().filename().native()), entry.path());
        }
    }
}

void add_files(const MemberFiles& files, std::vector<Zip::MemberProducer>& list) {
    for (const auto& [name, path] : files) {
        list.push_back(file_producer(path, name));
    }
}

void zip_add_os_update_logs(std::vector<Zip::MemberProducer>& list) {
    add_files(LogZipper::zip_generate_os_update_logs(), list);
}

// Despite its name, writes no archive: appends a producer for each log in the scratch folder and in `program_data`.
void zip_package_error_logs(const std::filesystem::path& program_data, std::vector<Zip::MemberProducer>& list) {
    MemberFiles logs;
    const auto scratch = Files::get_temp_directory(false);
    if (Files::path_exists(scratch)) {
        find_error_logs(scratch, L"", logs);
    }
    find_error_logs(program_data, L"update.log", logs);
    add_files(logs, list);
}

// Returns the producers of the members that every bundle has.
std::vector<Zip::MemberProducer> fixed_producers(const std::filesystem::path& config_file, std::time_t now) {
    const auto in_memory = [now](auto* produce, const char* name) -> Zip::MemberProducer {
        return [produce, member = Zip::Member{name, now}](Zip::Writer& writer) { return produce(writer, member); };
    };
    return {
        in_memory(LogZipper::zip_add_corvel_syslog, "corvel_syslog.txt"),
        in_memory(zip_add_agent_metadata, "corvel_metadata.txt"),
        in_memory(zip_add_service_status, "corvel_svcstatus.txt"),
        file_producer(config_file, std::nullopt),
        file_producer(config_file.parent_path() / L"update.log", std::nullopt),
    };
}

std::filesystem::path bundle_path() {
    const std::string name =
        fmt::format("corvel-support-bundle_{:%Y-%m-%d_%H-%M-%S}.zip", fmt::gmtime(std::time(nullptr)));
    return std::filesystem::current_path() / WinConv::utf8_to_native(name);
}

} // namespace

bool create_support_bundle(bool exclude_wu) {
    const std::time_t now = std::time(nullptr);
    const auto config_file = Files::get_config_file_path();
    std::vector<Zip::MemberProducer> list = fixed_producers(config_file, now);
    if (!exclude_wu) {
        zip_add_os_update_logs(list);
    }
    zip_package_error_logs(config_file.parent_path(), list);
    const auto path = bundle_path();
    Console::print("creating corvel support bundle at: {}\n", WinConv::native_to_utf8(path.native()));
    const bool good = Zip::write_zip(path, list);
    Console::write_output(good ? "SUCCESS writing corvel support bundle\n"
                               : "ERROR while writing corvel support bundle\n");
    return good;
}

} // namespace SupportBundle
