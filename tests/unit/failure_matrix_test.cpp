// Every command on a healthy machine, once for each call of each replaced function, which then fails. What the user and
// the log are told more than on the healthy machine stands in failure_matrix.txt; FAILURE_MATRIX names a file to write
// it to anew.

#include "config/persistence.h"
#include "fakes/service.h"
#include "fakes/wmi.h"
#include "main/dispatch.h"
#include "support/environment.h"
#include "support/event_record.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "system_win32/system_info.h"
#include "winconv/fatal_exception.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <random>
#include <regex>
#include <set>
#include <sstream>

namespace {

using Lines = std::vector<std::string>;

constexpr auto old_configuration = R"({"log_level":"debug"})";
constexpr auto tenant = "6f9619ff-8b86-d011-b42d-00c04fc964ff";

// A way to make one call of a function fail, counting its calls.
struct Failure {
    const char* function;
    std::function<std::shared_ptr<void>(int which, int& calls)> install;
};

enum class Done { No, All };

template <typename Result, typename... Args>
Failure failure(const char* name, Fakes::Fake<Result(Args...)>& fake, std::type_identity_t<Result> result,
                DWORD error = ERROR_ACCESS_DENIED, Done done = Done::No) {
    return {name, [=, &fake](int which, int& calls) -> std::shared_ptr<void> {
                const auto healthy = fake;
                return std::make_shared<Fakes::Replacement<Result(Args...)>>(fake, [=, &calls](Args... args) -> Result {
                    if (++calls != which) {
                        return healthy(args...);
                    }
                    if (done == Done::All) {
                        healthy(args...);
                    }
                    errno = EIO;
                    SetLastError(error);
                    return result;
                });
            }};
}
#define FAILURE(function, ...) failure(#function, Fakes::function, __VA_ARGS__)

// The wait for PowerShell alone: the logging library waits as well.
DWORD (*const signalled)() = [] { return DWORD{WAIT_OBJECT_0}; };
Fakes::Fake<DWORD()> wait_for_process{&signalled};

class FailureMatrix : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::path agent = folder.path() / L"ProgramData" / L"corvel";
    std::filesystem::path windows = folder.path() / L"Windows";
    HANDLE process = nullptr;
    int handles = 0;
    int left_open = 0;
    EnvironmentVariable profile{L"SELF_UPDATE_PROFILE", L"\"test\""};
    EnvironmentVariable temporary{L"TMP", folder.path().c_str()};
    EnvironmentVariable current_folder{L"NoDefaultCurrentDirectoryInExePath", nullptr};
    Fakes::Replacements replaced;
    Fakes::Service service{replaced};

    void SetUp() override {
        FakedWmi::install(replaced);
        replaced.add(Fakes::SHGetKnownFolderPath, [this](const GUID& id, auto, auto, PWSTR* path) {
            *path = task_string(id == FOLDERID_Windows ? windows : agent.parent_path());
            return S_OK;
        });
        replaced.add(Fakes::GetWindowsDirectoryW, [this](LPWSTR buffer, auto) {
            std::copy_n(windows.c_str(), windows.native().size() + 1, buffer);
            return static_cast<UINT>(windows.native().size());
        });
        replaced.add(Fakes::CreateProcessW,
                     [this](auto, auto, auto, auto, auto, auto, auto, auto, auto, PROCESS_INFORMATION* started) {
                         process = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                         started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
                         return TRUE;
                     });
        replaced.add(Fakes::ReadEventLogW,
                     [read = 0](auto, auto, auto, void* buffer, auto, DWORD* count, auto) mutable {
                         const EventBatch batch = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});
                         std::ranges::copy(batch, static_cast<std::byte*>(buffer));
                         *count = static_cast<DWORD>(batch.size());
                         SetLastError(ERROR_HANDLE_EOF);
                         return ++read % 2 == 1 ? TRUE : FALSE;
                     });
        replaced.add(Fakes::GetAddrInfoW, [](auto, auto, auto hints, auto result) {
            return (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", L"443", hints, result);
        });
        // The machine's own roots are many.
        replaced.add(Fakes::CertOpenSystemStoreW, [](auto...) {
            return (*Fakes::CertOpenStore.original)(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr);
        });
        count_handles();
        std::filesystem::current_path(folder.path());
    }
    void TearDown() override {
        std::filesystem::current_path(before);
        Config::current() = Config::Record();
        System::system_info() = System::SystemInfo();
        FakedWmi::rows.clear();
        // Where WinRT cannot be ended, it stays.
        APTTYPE type{};
        APTTYPEQUALIFIER qualifier{};
        while (CoGetApartmentType(&type, &qualifier) == S_OK) {
            CoUninitialize();
        }
    }

    template <typename Result, typename... Args>
    void count(
        Fakes::Fake<Result(Args...)>& fake, int change,
        std::type_identity_t<bool (*)(Result)> succeeded = [](Result result) { return result != 0; }) {
        replaced.add(fake, [this, change, succeeded, uncounted = fake](Args... args) {
            const Result result = uncounted(args...);
            handles += succeeded(result) ? change : 0;
            return result;
        });
    }
    void count_handles() {
        count(Fakes::CreateFileW, 1, [](HANDLE file) { return file != INVALID_HANDLE_VALUE; });
        count(Fakes::CreateProcessW, 2);
        count(Fakes::CloseHandle, -1);
        count(Fakes::_wsopen_s, 1, [](errno_t error) { return error == 0; });
        count(Fakes::_close, -1, [](int result) { return result == 0; });
        count(Fakes::OpenEventLogW, 1);
        count(Fakes::CloseEventLog, -1);
        count(Fakes::CertOpenStore, 1);
        count(Fakes::CertOpenSystemStoreW, 1);
        count(Fakes::CertCloseStore, -1);
        count(Fakes::WSAStartup, 1, [](int error) { return error == 0; });
        count(Fakes::WSACleanup, -1, [](int error) { return error == 0; });
    }

    void make_machine(bool configured) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            std::filesystem::remove_all(entry);
        }
        std::filesystem::create_directories(agent);
        std::filesystem::create_directories(windows / L"Temp" / L"corvel");
        put_file(windows / L"Temp" / L"corvel" / L"setup.log", "setup");
        std::mt19937 random(1);
        std::string noise(200000, '\0');
        std::ranges::generate(noise, [&] { return static_cast<char>(random()); });
        put_file(agent / L"agent.log", noise);
        if (configured) {
            put_file(agent / L"corvel.json", old_configuration);
        } else {
            std::filesystem::remove_all(agent);
        }
        for (const char* name : {"release.json", "developer.p7s"}) {
            std::filesystem::copy(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name, folder.path());
        }
        service.states = {{SERVICE_RUNNING}, {SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}};
        FakedWmi::rows = {{{L"OperatingSystemSKU", 48L},
                           {L"LicenseFamily", L"Professional"},
                           {L"LicenseStatus", 1L},
                           {L"Name", L"Windows"},
                           {L"ApplicationID", L"id"}}};
        Config::current() = Config::Record();
        System::system_info() = System::SystemInfo();
        RecordedLog::take();
    }

    // What the command says and logs, one line each, behind its status.
    Lines run(const Lines& arguments, const std::function<std::shared_ptr<void>()>& break_something) {
        std::string status;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        auto broken = break_something();
        handles = 0;
        try {
            status = fmt::format("status {}", Commands::dispatch(arguments));
        } catch (const std::exception& error) {
            status = fmt::format("ends abnormally: {}", error.what());
        }
        left_open = handles;
        broken.reset();
        std::istringstream said(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr());
        Lines lines{status};
        for (std::string line; std::getline(said, line);) {
            lines.push_back(line);
        }
        for (const std::string& line : RecordedLog::take()) {
            lines.push_back(line);
        }
        const std::pair<std::regex, const char*> varying[] = {
            {std::regex(R"(\d{4}-\d\d-\d\d[ _]\d\d[:-]\d\d[:-]\d\d(\.\d{7})?)"), "<time>"},
            {std::regex("wrote \\d+ bytes"), "wrote <size>"},
            {std::regex("parse error at .*"), "parse error"},
        };
        for (std::string& line : lines) {
            const std::string path = folder.path().string();
            for (auto at = line.find(path); at != std::string::npos; at = line.find(path)) {
                line.replace(at, path.size(), "<folder>");
            }
            for (const auto& [pattern, name] : varying) {
                line = std::regex_replace(line, pattern, name);
            }
        }
        return lines;
    }

    void expect_nothing_lost(bool configured) const {
        EXPECT_EQ(left_open, 0);
        EXPECT_EQ(service.open_handles, 0);
        EXPECT_EQ(FakedWmi::references, 0);
        EXPECT_FALSE(std::filesystem::exists(agent / L"corvel.json._corvel_tmp"));
        const std::string content = get_file(agent / L"corvel.json");
        EXPECT_TRUE(content == (configured ? old_configuration : "") || content == Config::serialise(Config::current()))
            << content;
    }
};

// clang-format off
const Failure failures[] = {
    FAILURE(SHGetKnownFolderPath, E_FAIL), FAILURE(GetWindowsDirectoryW, 0), FAILURE(GetFullPathNameW, 0),
    FAILURE(GetEnvironmentVariableW, 0), FAILURE(MultiByteToWideChar, 0), FAILURE(WideCharToMultiByte, 0),
    FAILURE(UuidFromStringW, RPC_S_INVALID_STRING_UUID), FAILURE(UuidToStringW, RPC_S_OUT_OF_MEMORY),
    FAILURE(GetFileAttributesW, INVALID_FILE_ATTRIBUTES), FAILURE(_wsopen_s, EACCES), FAILURE(_filelengthi64, -1),
    FAILURE(_read, -1), FAILURE(_write, -1), FAILURE(_commit, -1), FAILURE(_close, -1, 0, Done::All),
    FAILURE(ConvertStringSecurityDescriptorToSecurityDescriptorW, FALSE), FAILURE(CreateDirectoryW, FALSE),
    FAILURE(DeleteFileW, FALSE), FAILURE(MoveFileExW, FALSE), FAILURE(OpenSCManagerW, nullptr),
    FAILURE(OpenServiceW, nullptr), FAILURE(QueryServiceStatus, FALSE), FAILURE(ControlService, FALSE),
    FAILURE(ChangeServiceConfig2W, FALSE), FAILURE(StartServiceW, FALSE),
    FAILURE(CloseServiceHandle, FALSE, ERROR_INVALID_HANDLE, Done::All), FAILURE(OpenEventLogW, nullptr),
    FAILURE(ReadEventLogW, FALSE), FAILURE(CloseEventLog, FALSE, ERROR_INVALID_HANDLE, Done::All),
    FAILURE(CreateProcessW, FALSE), FAILURE(GetTempPathW, 0), FAILURE(CreateFileW, INVALID_HANDLE_VALUE),
    FAILURE(GetFileInformationByHandle, FALSE), FAILURE(ReadFile, FALSE, ERROR_READ_FAULT),
    FAILURE(WriteFile, FALSE, ERROR_DISK_FULL), FAILURE(CloseHandle, FALSE, ERROR_INVALID_HANDLE, Done::All),
    FAILURE(CoInitializeEx, RPC_E_CHANGED_MODE), FAILURE(CoCreateInstance, E_ACCESSDENIED),
    FAILURE(CoSetProxyBlanket, E_ACCESSDENIED), FAILURE(SysAllocString, nullptr),
    failure("ConnectServer", FakedWmi::connect_server, E_ACCESSDENIED),
    failure("ExecQuery", FakedWmi::exec_query, E_ACCESSDENIED), failure("Next", FakedWmi::next_row, E_ACCESSDENIED),
    failure("Get", FakedWmi::get_property, E_ACCESSDENIED), FAILURE(GetModuleHandleExW, FALSE),
    FAILURE(GetProcAddress, nullptr), FAILURE(RegGetValueW, ERROR_ACCESS_DENIED), FAILURE(WSAStartup, WSASYSNOTREADY),
    FAILURE(gethostname, -1), FAILURE(GetAddrInfoW, WSAHOST_NOT_FOUND), FAILURE(WinHttpCrackUrl, FALSE),
    FAILURE(GetBestInterface, ERROR_NETWORK_UNREACHABLE), FAILURE(GetIpAddrTable, ERROR_ACCESS_DENIED),
    FAILURE(CertOpenStore, nullptr), FAILURE(CertCreateCertificateContext, nullptr), FAILURE(CertNameToStrW, 0),
    FAILURE(CertAddCertificateContextToStore, FALSE), FAILURE(CertAddStoreToCollection, FALSE),
    FAILURE(CertOpenSystemStoreW, nullptr), FAILURE(CertCreateCertificateChainEngine, FALSE),
    FAILURE(CryptGetMessageSignerCount, -1), FAILURE(CryptVerifyDetachedMessageSignature, FALSE, 0x80090006),
    FAILURE(CertGetCertificateChain, FALSE), FAILURE(CertCloseStore, FALSE, ERROR_INVALID_HANDLE, Done::All),
};
// clang-format on

TEST_F(FailureMatrix, loses_nothing_and_says_what_failed) {
    struct Command {
        const char* name;
        bool configured;
        Lines arguments;
    };
    const Command commands[] = {{"set", true, {"set", "tenant_id", tenant}},
                                {"first set", false, {"set", "tenant_id", tenant}},
                                {"create_support_bundle", true, {"create_support_bundle"}},
                                {"verify_release", true, {"verify_release", "release.json", "developer.p7s"}}};
    Lines matrix;
    for (const auto& [name, configured, arguments] : commands) {
        make_machine(configured);
        const Lines healthy = run(arguments, [] { return nullptr; });
        EXPECT_EQ(healthy.front(), "status 0");
        for (const Failure& each : failures) {
            for (int which = 1;; ++which) {
                SCOPED_TRACE(fmt::format("{}: call {} of {}", name, which, each.function));
                make_machine(configured);
                int calls = 0;
                Lines lines = run(arguments, [&] { return each.install(which, calls); });
                expect_nothing_lost(configured);
                if (calls < which) {
                    break;
                }
                EXPECT_TRUE(lines.front().starts_with("status") || arguments.front() == "create_support_bundle" ||
                            lines.front().ends_with("bad_alloc"));
                std::erase_if(lines, [&](const std::string& line) {
                    return line != lines.front() && std::ranges::find(healthy, line) != healthy.end();
                });
                const std::string outcome = fmt::format("{} {}: {}", name, each.function, fmt::join(lines, " | "));
                std::printf("%s, call %d\n", outcome.c_str(), which);
                if (std::ranges::find(matrix, outcome) == matrix.end()) {
                    matrix.push_back(outcome);
                }
            }
        }
    }
    if (const char* const file = std::getenv("FAILURE_MATRIX")) {
        put_file(file, fmt::format("{}\n", fmt::join(matrix, "\n")));
    }
    std::istringstream known(get_file("Z:" TEST_FIXTURES "/failure_matrix.txt"));
    Lines expected;
    for (std::string line; std::getline(known, line);) {
        expected.push_back(line);
    }
    EXPECT_EQ(matrix, expected);
}

} // namespace
