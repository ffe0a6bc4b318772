// What every command says and does: on a healthy machine, on others, and on the healthy one once for each call of each
// replaced function, which then fails. Of all but the healthy machine, only what is different stands in
// failure_matrix.txt; FAILURE_MATRIX names a file to write it to anew.

#include "config/persistence.h"
#include "crypto_win32/internal/authorities.h"
#include "fakes/wmi.h"
#include "main/dispatch.h"
#include "support/environment.h"
#include "support/event_record.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "system_win32/com.h"
#include "system_win32/system_info.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <regex>
#include <span>
#include <sstream>

namespace {

using Lines = std::vector<std::string>;
using Change = std::function<std::shared_ptr<void>()>;
using Values = std::map<std::wstring, const wchar_t*>;

const Lines set = {"set", "tenant_id", "6f9619ff-8b86-d011-b42d-00c04fc964ff"};
const Lines create_support_bundle = {"create_support_bundle"};
const Lines verify_release = {"verify_release", "release.json", "developer.p7s"};

// A function and a way to make one call of it fail, counting its calls.
using Failure = std::pair<const char*, std::function<std::shared_ptr<void>(int which, int& calls)>>;

template <typename Result, typename... Args>
Failure failure(const char* name, Fakes::Fake<Result(Args...)>& fake, std::type_identity_t<Result> result = {},
                DWORD error = ERROR_ACCESS_DENIED) {
    return {name, [=, &fake](int which, int& calls) {
                const auto broken = [=, &calls, healthy = fake](Args... args) -> Result {
                    if (++calls != which) {
                        return healthy(args...);
                    }
                    if (error == ERROR_INVALID_HANDLE) {
                        healthy(args...);
                    }
                    errno = EIO;
                    SetLastError(error);
                    return result;
                };
                return Fakes::Replacement(fake, broken).end;
            }};
}

// What the library functions that are looked up say.
RTL_OSVERSIONINFOEXW version;
USHORT native_machine = 0; // 0: nobody can be asked

std::wstring noise() {
    std::wstring text(60000, L'\0');
    std::ranges::generate(
        text, [random = std::mt19937()]() mutable { return static_cast<wchar_t>(0x4E00 + random() % 0x5000); });
    return text;
}

const EventBatch event = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});
const EventBatch large_event = event_record(L"corvel", 8, EVENTLOG_WARNING_TYPE, {noise()});

// What reading the event log gives.
struct Read {
    DWORD error = 0; // 0: the batch
    EventBatch batch{};
    DWORD needed = 0;
};

struct Observed {
    DWORD state;
    DWORD wait_hint = 0;
};

// Most of what is different from machine to machine; a healthy one unless it is changed.
struct Machine {
    std::string configuration; // of the file; empty if there is none
    // The states that the service shows in turn, the last one for ever.
    std::deque<Observed> service = {{SERVICE_RUNNING}, {SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}};
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps
    std::deque<Read> event_log = {{0, event}, {0, large_event}};
    DWORD product = 7;
    Values registry = {{L"DisplayVersion", L"23H2"}, {L"ReleaseId", L"2009"}}; // numbers as they stand in memory
    WORD processor = PROCESSOR_ARCHITECTURE_AMD64;
    std::wstring unresolvable;
    DWORD interface_index = 2;
    DWORD adapters = 2;
    // Of a message with several signers, which Wine cannot read: the authority that each is taken for, and whether its
    // signature is good. And the chain that every signer has, if not the system's.
    std::vector<std::pair<std::span<const unsigned char>, bool>> signers;
    LONG counted_signers = 9;
    const CERT_CHAIN_CONTEXT* chain = nullptr;
};

class FailureMatrix : public testing::Test, protected Machine {
protected:
    TemporaryFolder folder;
    std::filesystem::path agent = folder.path() / L"ProgramData" / L"corvel";
    std::filesystem::path windows = folder.path() / L"Windows";
    Lines calls; // what the system was asked for
    HANDLE process = nullptr;
    int handles = 0;
    int left_open = 0;
    EnvironmentVariable profile{L"SELF_UPDATE_PROFILE", L"\"test\""};
    EnvironmentVariable temporary{L"TMP", folder.path().c_str()};
    EnvironmentVariable current_folder{L"NoDefaultCurrentDirectoryInExePath", nullptr};
    Fakes::Replacements replaced;
    std::map<std::string, Lines> healthy;
    Lines matrix;

    void SetUp() override {
        FakedWmi::install(replaced);
        fake(Fakes::CoInitializeEx, [](auto...) { return S_OK; });
        fake(Fakes::CoUninitialize, [this] { calls.push_back("end COM"); });
        { const System::WindowsIpcApartment loads_winrt_once; }
        fake_files_and_processes();
        fake_service();
        fake_installation();
        fake_network();
        fake_signatures();
        count_handles();
    }

    void fake(auto& function, auto replacement) {
        replaced.emplace_front(function, replacement);
    }
    void fake_files_and_processes() {
        fake(Fakes::SHGetKnownFolderPath, [this](const GUID& id, auto, auto, PWSTR* path) {
            return SHStrDupW(id == FOLDERID_Windows ? windows.c_str() : agent.parent_path().c_str(), path);
        });
        fake(Fakes::GetWindowsDirectoryW, [this](LPWSTR buffer, auto) {
            return static_cast<UINT>(std::wcslen(std::wcscpy(buffer, windows.c_str())));
        });
        fake(Fakes::CreateProcessW, [this](LPCWSTR application, LPWSTR line, auto, auto, BOOL inherit, DWORD flags,
                                           auto, auto, auto, PROCESS_INFORMATION* started) {
            EXPECT_TRUE(application == nullptr && inherit == FALSE && flags == 0x08000000);
            wchar_t value[2]{};
            EXPECT_EQ((*Fakes::GetEnvironmentVariableW.original)(L"NoDefaultCurrentDirectoryInExePath", value, 2), 1U);
            calls.push_back(std::filesystem::path(line).string());
            process = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
            started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
            return TRUE;
        });
        // Only the wait for the process is looked at: the logging library waits as well.
        fake(Fakes::WaitForSingleObject, [this](HANDLE object, DWORD milliseconds) {
            EXPECT_TRUE(object != process || milliseconds == INFINITE);
            return (*Fakes::WaitForSingleObject.original)(object, milliseconds);
        });
        fake(Fakes::OpenEventLogW, [](LPCWSTR server, LPCWSTR name) {
            return server == nullptr && std::wstring_view(name) == L"corvel" ? reinterpret_cast<HANDLE>(1) : nullptr;
        });
        fake(Fakes::CloseEventLog, [](auto) { return TRUE; });
        fake(Fakes::ReadEventLogW,
             [this](auto, DWORD flags, auto, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
                 calls.push_back(fmt::format("read {} as {}", size, flags));
                 event_log.push_back({ERROR_HANDLE_EOF});
                 const Read next = event_log.front();
                 event_log.pop_front();
                 std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
                 *count = static_cast<DWORD>(next.batch.size());
                 *needed = next.needed;
                 SetLastError(next.error);
                 return next.error == 0 ? TRUE : FALSE;
             });
    }
    // The clock moves only when somebody sleeps.
    void fake_service() {
        const auto open = [this](const std::filesystem::path& what, DWORD rights) {
            calls.push_back(fmt::format("open {} for {:#x}", what.string(), rights));
            return reinterpret_cast<SC_HANDLE>(0x5c);
        };
        const auto called = [this](const std::string& what) {
            calls.push_back(what);
            return TRUE;
        };
        fake(Fakes::OpenSCManagerW, [=](auto, auto, DWORD rights) { return open("manager", rights); });
        fake(Fakes::OpenServiceW, [=](auto, LPCWSTR name, DWORD rights) { return open(name, rights); });
        fake(Fakes::CloseServiceHandle, [](auto) { return TRUE; });
        fake(Fakes::QueryServiceStatus, [this](auto, LPSERVICE_STATUS status) {
            status->dwCurrentState = service.front().state;
            status->dwWaitHint = service.front().wait_hint;
            if (service.size() > 1) {
                service.pop_front();
            }
            return TRUE;
        });
        fake(Fakes::ControlService,
             [=](auto, DWORD control, auto) { return called(fmt::format("control {}", control)); });
        fake(Fakes::ChangeServiceConfig2W, [=](auto, DWORD level, LPVOID info) {
            return called(fmt::format("configure {} as {}", level, *static_cast<BOOL*>(info)));
        });
        fake(Fakes::StartServiceW, [=](auto...) { return called("start"); });
        fake(Fakes::GetTickCount, [this] { return now; });
        fake(Fakes::Sleep, [this](DWORD milliseconds) {
            now += milliseconds;
            // The logging library sleeps as well, but not for long.
            if (milliseconds >= 100) {
                calls.push_back("sleep " + std::to_string(milliseconds));
            }
        });
    }
    void fake_installation() {
        fake(Fakes::GetProcAddress, [](HMODULE library, LPCSTR name) {
            void* found = nullptr;
            if (std::string_view(name) == "RtlGetVersion") {
                found = reinterpret_cast<void*>(+[](RTL_OSVERSIONINFOEXW* result) -> LONG {
                    *result = version;
                    return 0;
                });
            } else if (std::string_view(name) != "IsWow64Process2") {
                return (*Fakes::GetProcAddress.original)(library, name);
            } else if (native_machine != 0) {
                found = reinterpret_cast<void*>(+[](HANDLE, USHORT*, USHORT* native) -> BOOL {
                    *native = native_machine;
                    return TRUE;
                });
            }
            return reinterpret_cast<FARPROC>(found);
        });
        fake(Fakes::GetNativeSystemInfo, [this](SYSTEM_INFO* result) { result->wProcessorArchitecture = processor; });
        fake(Fakes::RegGetValueW, [this](HKEY, LPCWSTR key, LPCWSTR name, DWORD type, auto, void* data, auto) {
            const std::wstring levels = type == RRF_RT_REG_DWORD ? L"\\Server\\ServerLevels" : L"";
            if (key != L"Software\\Microsoft\\Windows NT\\CurrentVersion" + levels || !registry.contains(name)) {
                return LSTATUS{ERROR_FILE_NOT_FOUND};
            }
            wcscpy(static_cast<wchar_t*>(data), registry[name]);
            return LSTATUS{ERROR_SUCCESS};
        });
        fake(Fakes::GetProductInfo, [this](DWORD a, DWORD b, DWORD c, DWORD d, DWORD* result) {
            EXPECT_TRUE(a == 6 && b == 3 && c == 0 && d == 0);
            *result = product;
            return TRUE;
        });
    }
    void fake_network() {
        fake(Fakes::gethostname, [](char* buffer, int size) {
            return std::string_view("gr\xFCn").copy(buffer, static_cast<std::size_t>(size)) == 4 ? 0 : -1;
        });
        fake(Fakes::MultiByteToWideChar, [](UINT page, auto... rest) {
            return (*Fakes::MultiByteToWideChar.original)(page == CP_ACP ? 1252 : page, rest...);
        });
        fake(Fakes::GetAddrInfoW, [this](LPCWSTR host, LPCWSTR service_name, auto hints, auto result) {
            EXPECT_STREQ(service_name, L"https");
            EXPECT_TRUE(hints->ai_family == 2 && hints->ai_socktype == 1 && hints->ai_protocol == 6);
            // By its number, for which the machine need not know the service.
            return unresolvable.find(host) != std::wstring::npos
                       ? WSAHOST_NOT_FOUND
                       : (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", L"443", hints, result);
        });
        fake(Fakes::GetBestInterface, [this](IPAddr destination, DWORD* index) {
            EXPECT_EQ(destination, 0xBB010002U); // 2.0.1.187
            *index = interface_index;
            return DWORD{NO_ERROR};
        });
        fake(Fakes::GetIpAddrTable, [this](MIB_IPADDRTABLE* table, ULONG* size, BOOL) -> DWORD {
            const MIB_IPADDRROW rows[] = {{0x0100007F, 1}, {0x0100000A, 2}};
            const auto needed = static_cast<ULONG>(offsetof(MIB_IPADDRTABLE, table) + adapters * sizeof rows[0]);
            if (*size < needed) {
                *size = needed;
                return ERROR_INSUFFICIENT_BUFFER;
            }
            table->dwNumEntries = adapters + 100; // more than there is room for
            std::copy_n(rows, adapters, &table->table[0]);
            return NO_ERROR;
        });
    }
    void fake_signatures() {
        // The machine's own roots are many.
        fake(Fakes::CertOpenSystemStoreW, [](auto...) {
            return (*Fakes::CertOpenStore.original)(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr);
        });
        fake(Fakes::CertOpenStore, [this](LPCSTR provider, auto... rest) {
            const bool of_message = provider == CERT_STORE_PROV_PKCS7 && !signers.empty();
            return (*Fakes::CertOpenStore.original)(of_message ? CERT_STORE_PROV_MEMORY : provider, rest...);
        });
        fake(Fakes::CertCloseStore, [](HCERTSTORE store, DWORD flags) {
            EXPECT_EQ(flags, static_cast<DWORD>(CERT_CLOSE_STORE_CHECK_FLAG));
            return (*Fakes::CertCloseStore.original)(store, flags);
        });
        fake(Fakes::CryptGetMessageSignerCount, [this](auto... arguments) {
            return signers.empty() ? (*Fakes::CryptGetMessageSignerCount.original)(arguments...) : counted_signers;
        });
        fake(Fakes::CryptVerifyDetachedMessageSignature, [this](auto a, DWORD signer, auto c, auto d, auto e, auto f,
                                                                auto g, PCCERT_CONTEXT* certificate) {
            if (signers.empty()) {
                return (*Fakes::CryptVerifyDetachedMessageSignature.original)(a, signer, c, d, e, f, g, certificate);
            }
            if (signer >= signers.size()) {
                SetLastError(static_cast<DWORD>(CRYPT_E_NO_SIGNER));
                return FALSE;
            }
            const auto [der, good] = signers[signer];
            *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
            SetLastError(static_cast<DWORD>(NTE_BAD_SIGNATURE));
            return good ? TRUE : FALSE;
        });
        fake(Fakes::CertGetCertificateChain,
             [this](auto a, auto b, auto c, auto d, auto e, DWORD flags, auto g, PCCERT_CHAIN_CONTEXT* result) {
                 calls.push_back(fmt::format("chain with flags {}", flags));
                 *result = chain;
                 return chain != nullptr ? TRUE
                                         : (*Fakes::CertGetCertificateChain.original)(a, b, c, d, e, flags, g, result);
             });
        fake(Fakes::CertFreeCertificateChain, [this](PCCERT_CHAIN_CONTEXT freed) {
            if (freed != chain) {
                (*Fakes::CertFreeCertificateChain.original)(freed);
            }
        });
    }

    template <typename Succeeded, typename... Signatures>
    void count(int change, Succeeded succeeded, Fakes::Fake<Signatures>&... fakes) {
        const auto count_one = [=, this]<typename Result, typename... Args>(Fakes::Fake<Result(Args...)>& function) {
            fake(function, [=, this, uncounted = function](Args... args) {
                const Result result = uncounted(args...);
                handles += succeeded(result) ? change : 0;
                return result;
            });
        };
        (count_one(fakes), ...);
    }
    void count_handles() {
        const auto is_zero = [](int result) { return result == 0; };
        const auto is_true = [](BOOL result) { return result != FALSE; };
        const auto is_handle = [](auto handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; };
        count(1, is_handle, Fakes::CreateFileW, Fakes::OpenEventLogW, Fakes::OpenSCManagerW, Fakes::OpenServiceW,
              Fakes::CertOpenStore, Fakes::CertOpenSystemStoreW);
        count(2, is_true, Fakes::CreateProcessW);
        count(-1, is_true, Fakes::CloseHandle, Fakes::CloseEventLog, Fakes::CloseServiceHandle, Fakes::CertCloseStore);
        count(1, is_zero, Fakes::WSAStartup);
        count(-1, is_zero, Fakes::WSACleanup);
    }

    void configure(const std::string& content) {
        std::filesystem::create_directories(agent);
        put_file(agent / L"corvel.json", content);
        configuration = content;
    }
    void make_machine(bool configured = true) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            std::filesystem::remove_all(entry);
        }
        std::filesystem::create_directories(windows / L"Temp" / L"corvel");
        put_file(windows / L"Temp" / L"corvel" / L"setup.log", "setup");
        static_cast<Machine&>(*this) = Machine();
        if (configured) {
            configure(R"({"log_level":"debug"})");
            put_file(agent / L"agent.log", std::string(reinterpret_cast<const char*>(large_event.data()), 120000));
        }
        for (const char* name : {"release.json", "developer.p7s"}) {
            std::filesystem::copy(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name, folder.path());
        }
        version = {0, 10, 0, 22631, 0, L"", 0, 0, 0, 1};
        native_machine = 0x8664;
        FakedWmi::rows = {{{L"OperatingSystemSKU", 48L},
                           {L"LicenseFamily", L"Professional"},
                           {L"LicenseStatus", 1L},
                           {L"Name", L"Windows"},
                           {L"ApplicationID", L"id"}}};
    }

    // What the command says, logs and asks the system for, one line each, behind its status.
    Lines run(const Lines& arguments, const Change& change = nullptr) {
        Config::current() = Config::Record();
        System::system_info() = System::SystemInfo();
        RecordedLog::take();
        calls.clear();
        FakedWmi::asked.clear();
        Lines lines;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        auto changed = change ? change() : nullptr;
        handles = 0;
        try {
            lines.push_back(fmt::format("status {}", Commands::dispatch(arguments)));
        } catch (const std::exception& error) {
            lines.push_back(fmt::format("ends abnormally: {}", error.what()));
        }
        left_open = handles;
        changed.reset();
        const auto add_lines = [&](const std::string& text, const char* stream) {
            std::istringstream said(text);
            for (std::string line; std::getline(said, line);) {
                lines.push_back(stream + line + (said.eof() ? " (no line feed)" : ""));
            }
        };
        add_lines(testing::internal::GetCapturedStdout(), "");
        add_lines(testing::internal::GetCapturedStderr(), "stderr: ");
        std::ranges::copy(RecordedLog::take(), std::back_inserter(lines));
        for (const auto& license : System::system_info().licenses) {
            lines.push_back(fmt::format("{} {} {}", license.value.value_or("-"), license.family.value_or("-"),
                                        license.status.value_or(-1)));
        }
        std::ranges::copy(FakedWmi::asked, std::back_inserter(lines));
        if (!calls.empty()) {
            lines.push_back(fmt::format("{}", fmt::join(calls, ", ")));
        }
        static const std::pair<std::regex, const char*> varying[] = {
            {std::regex(R"([^ "[]*corvel-test-\d+)"), "<folder>"},
            {std::regex(R"(\d{4}-\d\d-\d\d[ _]\d\d[:-]\d\d[:-]\d\d(\.\d{7})?)"), "<time>"},
            {std::regex("wrote \\d+ bytes"), "wrote <size>"},
            {std::regex("attempting to parse an empty.*|syntax error while parsing value - unexpected end.*"),
             "nothing"},
        };
        for (std::string& line : lines) {
            for (const auto& [pattern, name] : varying) {
                line = std::regex_replace(line, pattern, name);
            }
        }
        return lines;
    }

    void expect_nothing_lost() const {
        EXPECT_EQ(left_open, 0);
        EXPECT_EQ(FakedWmi::references, 0);
        EXPECT_FALSE(std::filesystem::exists(agent / L"corvel.json._corvel_tmp"));
        const std::string content = get_file(agent / L"corvel.json");
        EXPECT_TRUE(content == configuration || content == Config::serialise(Config::current())) << content;
    }
    // Keeps what is different from the healthy machine and in no line of the matrix yet.
    void add(const std::string& name, Lines lines, const Lines& expected) {
        std::erase_if(lines, [&](const std::string& line) {
            return line != lines.front() && std::ranges::find(expected, line) != expected.end();
        });
        const std::string outcome = fmt::format("{}: {}", name, fmt::join(lines, " | "));
        if (std::ranges::find(matrix, outcome) == matrix.end()) {
            matrix.push_back(outcome);
        }
    }
    // Runs a command on the machine as it was made different, and makes it anew.
    void explore(const std::string& name, const Lines& arguments, const Change& change = nullptr) {
        SCOPED_TRACE(name);
        add(arguments.front() + ", " + name, run(arguments, change), healthy[arguments.front()]);
        expect_nothing_lost();
        make_machine();
    }
    void explore_services() {
        service = {{SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}};
        explore("service that is stopping", set);
        service = {{SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_STOPPED}};
        explore("service that fails to start", set);
        service = {{SERVICE_RUNNING}, {SERVICE_STOP_PENDING, 50000}};
        explore("service that does not stop", set);
        for (const DWORD hint : {9999UL, 50009UL, 200000UL}) {
            service = {{SERVICE_STOPPED}, {SERVICE_START_PENDING, hint}, {SERVICE_RUNNING}};
            explore(fmt::format("service with wait hint {}", hint), set);
        }
        for (const DWORD state : {0UL, 5UL, 7UL, 8UL}) {
            service = {{SERVICE_STOP_PENDING}, {state}};
            explore(fmt::format("service in state {}", state), set);
        }
    }
    void explore_operands() {
        const std::string& id = set.back();
        for (const std::string& bad : Lines{"", "{" + id + "}", " " + id, id + " ", id + "0", id.substr(1),
                                            "6f9619ff8b86d011b42d00c04fc964ff", Config::Uuid().text()}) {
            explore("bad UUID " + bad, {"set", "tenant_id", bad});
        }
        configure("{");
        explore("odd number of operands and malformed file", {"set", "tenant_id"});
        for (const std::string& line : Lines{
                 "set Tenant_id x", "set a a\"€*", "set host_id 5 unknown y", "set log_level é",
                 "set skip_power_check true self_update yes webapp_addr 123", R"(set self_update_profile "Production")",
                 "Set", "help set", "verify_release a", "verify_release a create_support_bundle b",
                 "verify_release missing b", "create_support_bundle --exclude", "create_support_bundle --exclude x",
                 "create_support_bundle --exclude wu", "foo create_support_bundle"}) {
            std::istringstream words(line);
            explore("typed " + line, {std::istream_iterator<std::string>(words), {}});
        }
    }
    void explore_configurations() {
        const std::string deep(1000000, '[');
        for (const std::string& content :
             Lines{"", "{} x", "// c\n{}", R"({"webapp_addr": "\xFF"})", "{\"webapp_addr\": \"\xFF\"}",
                   std::string("{}\0", 3), R"({"self_update": 1})", deep,
                   R"({"webapp_addr": )" + deep + std::string(deep.size(), ']') + "}"}) {
            configure(content);
            explore(fmt::format("file of {} bytes", content.size()), set);
        }
        configure(R"({"webapp_addr": "file", "tenant_id": "6f9619ff-8b86-d011-b42d-00c04fc964ff",)"
                  R"( "self_update_profile": "test", "skip_power_check": true})");
        const EnvironmentVariable variables[] = {{L"WEBAPP_ADDR", L""},
                                                 {L"TENANT_ID", L"no UUID"},
                                                 {L"SELF_UPDATE_ADDR", L"variable"},
                                                 {L"SELF_UPDATE_PROFILE", L"unsigned"},
                                                 {L"SELF_UPDATE", L"yes"}};
        explore("environment over the file", verify_release);
    }
    void explore_event_logs_and_update_logs() {
        EventBatch damaged = event;
        damaged[0] = std::byte{1};
        event_log = {{0, event + damaged}, {0, event}};
        explore("damaged event", create_support_bundle);
        event_log = {{0, large_event}};
        explore("full disk", create_support_bundle,
                [] { return Fakes::Replacement(Fakes::WriteFile, [](auto...) { return FALSE; }).end; });
        for (const DWORD sharing : {FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, 0}) {
            explore(fmt::format("log file shared as {}", sharing), create_support_bundle, [&] {
                return std::shared_ptr<void>(CreateFileW((agent / L"open.log").c_str(), GENERIC_WRITE | DELETE, sharing,
                                                         nullptr, CREATE_ALWAYS, 0, nullptr),
                                             CloseHandle);
            });
        }
        event_log = {{0, event}, {ERROR_INSUFFICIENT_BUFFER, {}, 300000}, {0, event + event}};
        explore("event larger than the buffer", create_support_bundle);
        event_log = {{ERROR_INSUFFICIENT_BUFFER, {}, 4}, {ERROR_INSUFFICIENT_BUFFER}};
        explore("event larger than it was said to be", create_support_bundle);
        for (const wchar_t* const name : {L"release.json", L"missing", L"quoted\" -Command \"", L"Program Data"}) {
            std::filesystem::create_directory(folder.path() / L"Program Data");
            const auto elsewhere = folder.path() / name;
            explore("temporary folder " + elsewhere.filename().string(), create_support_bundle,
                    [&] { return std::make_shared<EnvironmentVariable>(L"TMP", elsewhere.c_str()); });
        }
    }
    void explore_installations() {
        const auto explore_windows = [this](DWORD build, BYTE type, DWORD product_type, const Values& values) {
            version = {0, 10, 0, build, 0, L"", 0, 0, 0, type};
            product = product_type;
            registry = values;
            explore(fmt::format("Windows {}", build), create_support_bundle);
        };
        explore_windows(17763, 1, 0, {{L"DisplayVersion", L""}, {L"ReleaseId", L"1809"}});
        explore_windows(22000, 3, 175, {{L"DisplayVersion", L"21H2"}});
        explore_windows(20348, 3, 12, {});
        explore_windows(17763, 2, 7, {{L"ServerCore", L"\1"}});
        explore_windows(17763, 3, 7, {{L"ServerCore", L"\1"}, {L"Server-Gui-Shell", L"\1"}});
        explore_windows(14393, 3, 7, {{L"NanoServer", L"\1"}});
        explore_windows(10240, 3, 7, {});
        version = {0, 6, 1, 7601, 0, L"Service Pack 1", 0, 0, 0, 3};
        explore("Windows with a service pack", create_support_bundle);
        native_machine = 0xAA64;
        explore("machine that is emulated", create_support_bundle);
        for (const WORD each : {WORD{0}, WORD{6}, WORD{9}, WORD{77}}) {
            native_machine = 0;
            processor = each;
            explore(fmt::format("processor {}", each), create_support_bundle);
        }
    }
    void explore_signers() {
        for (const LONG counted : {9L, -1L, 0L, 1L}) {
            signers = {{Crypto::developer_ca, true}, {Crypto::release_ca, true}};
            counted_signers = counted;
            explore(fmt::format("two signers counted {}", counted), verify_release);
        }
        signers = {{Crypto::developer_ca, false}, {Crypto::release_ca, true}};
        explore("bad signer before a good one", verify_release);
        CERT_SIMPLE_CHAIN simple{};
        PCERT_SIMPLE_CHAIN simple_chains[] = {&simple};
        CERT_CHAIN_CONTEXT bad{};
        bad.rgpChain = simple_chains;
        for (const auto& [status, chains] : {std::pair(0x20UL, 0UL), {0x21UL, 0UL}, {0UL, 0UL}, {0UL, 1UL}}) {
            bad.TrustStatus.dwErrorStatus = status;
            bad.cChain = chains;
            chain = &bad;
            explore("bad chain", verify_release);
        }
    }
    void explore_licences_and_networks() {
        const FakedWmi::Value products[] = {L"175", L"x", L"99999999999", {}};
        for (const FakedWmi::Value& sku : products) {
            FakedWmi::rows[0][L"OperatingSystemSKU"] = sku;
            explore("product type as text", create_support_bundle);
        }
        FakedWmi::rows.clear();
        explore("no licence", create_support_bundle);
        explore("COM in use", create_support_bundle,
                [] { return Fakes::Replacement(Fakes::CoInitializeEx, [](auto...) { return S_FALSE; }).end; });
        const std::tuple<const wchar_t*, FakedWmi::Value, FakedWmi::Value> licences[] = {
            {L"a", L"F", 0L}, {L"b", L"F", 0L}, {L"c", L"F", L"1"},         {L"d", {}, 1L},   {L"e", {}, 1L},
            {L"f", L"G", 7L}, {L"g", L"G", {}}, {L"h", L"H", L"no number"}, {L"i", L"I", 1L},
        };
        for (const auto& [name, family, status] : licences) {
            FakedWmi::rows.push_back(
                {{L"Name", name}, {L"LicenseFamily", family}, {L"ApplicationID", L"id"}, {L"LicenseStatus", status}});
        }
        explore("licences alike and one that is damaged", create_support_bundle);
        for (const wchar_t* const hosts : {L"app.corvel.example", L"app.corvel.example 1.1.1.1"}) {
            unresolvable = hosts;
            explore("without " + std::filesystem::path(hosts).string(), create_support_bundle);
        }
        for (const DWORD rows : {2UL, 0UL}) {
            adapters = rows;
            interface_index = 9;
            explore("no address of the interface", create_support_bundle);
        }
    }
};

// clang-format off
#define FAILURE(function, ...) failure(#function, Fakes::function __VA_OPT__(, ) __VA_ARGS__),
const Failure failures[] = {
    CORVEL_FAILING_IMPORTS(FAILURE)
    FAILURE(SHGetKnownFolderPath, E_FAIL) FAILURE(WinHttpCrackUrl) FAILURE(GetBestInterface, ERROR_NETWORK_UNREACHABLE)
    FAILURE(GetIpAddrTable, ERROR_ACCESS_DENIED) failure("ConnectServer", FakedWmi::connect_server, E_ACCESSDENIED),
    failure("ExecQuery", FakedWmi::exec_query, E_ACCESSDENIED), failure("Next", FakedWmi::next_row, E_ACCESSDENIED),
    failure("Get", FakedWmi::get_property, E_ACCESSDENIED),
};
// clang-format on

TEST_F(FailureMatrix, loses_nothing_and_says_what_failed) {
    for (const auto& [name, configured, arguments] : {std::tuple("first set", false, set),
                                                      {"set", true, set},
                                                      {"create_support_bundle", true, create_support_bundle},
                                                      {"verify_release", true, verify_release}}) {
        make_machine(configured);
        const Lines expected = healthy[name] = run(arguments);
        add(name, expected, {});
        for (const auto& [function, fail] : failures) {
            for (int which = 1, made = 0; made >= which - 1; ++which) {
                SCOPED_TRACE(fmt::format("{}: call {} of {}", name, which, function));
                make_machine(configured);
                made = 0;
                const Lines lines = run(arguments, [&, &fail = fail] { return fail(which, made); });
                expect_nothing_lost();
                if (made >= which) {
                    std::printf("%s %s, call %d\n", name, function, which);
                    add(fmt::format("{} {}", name, function), lines, expected);
                }
            }
        }
    }
    make_machine();
    explore_services();
    explore_operands();
    explore_configurations();
    explore_event_logs_and_update_logs();
    explore_installations();
    explore_licences_and_networks();
    explore_signers();
    const std::string outcomes = fmt::format("{}\n", fmt::join(matrix, "\n"));
    if (const char* const file = std::getenv("FAILURE_MATRIX")) {
        put_file(file, outcomes);
    }
    EXPECT_EQ(outcomes, get_file("Z:" TEST_FIXTURES "/failure_matrix.txt"));
}

} // namespace
