#include "machine/machine.h"

#include "config/record.h"
#include "crypto_win32/trust.h"
#include "main/dispatch.h"
#include "support/archive.h"
#include "support/recorded_log.h"
#include "system_win32/com.h"
#include "system_win32/system_info.h"

#include <nlohmann/json.hpp>

#include <regex>

using namespace testing;

using Fakes::refuse;

namespace {

const auto manager_handle = reinterpret_cast<SC_HANDLE>(0x5c);
const auto service_handle = reinterpret_cast<SC_HANDLE>(0x5e);
const auto log_handle = reinterpret_cast<HANDLE>(0x10);

// Functions that are looked up have no room for what they belong to.
const Settings* looked_up = nullptr;

LONG WINAPI rtl_get_version(RTL_OSVERSIONINFOEXW* result) {
    EXPECT_EQ(result->dwOSVersionInfoSize, sizeof *result);
    *result = {sizeof *result, 10, 0, 22000, 0, L"", 0, 0, 0, looked_up->product == 7 ? BYTE{VER_NT_WORKSTATION} : BYTE{VER_NT_SERVER}};
    return 0;
}

BOOL WINAPI is_wow64_process2(HANDLE process, USHORT*, USHORT* native) {
    EXPECT_EQ(process, GetCurrentProcess());
    *native = looked_up->native_machine;
    return TRUE;
}

std::string narrow(const std::wstring& text) { return std::filesystem::path(text).string(); }

EventBatch large_batch() {
    std::wstring noise(60000, L'\0');
    std::ranges::generate(noise, [random = std::mt19937()]() mutable { return static_cast<wchar_t>(0x4E00 + random() % 0x5000); });
    return event_record(L"corvel", 8, EVENTLOG_WARNING_TYPE, {noise});
}

// Puts a name in place of the test's folder and of the time.
std::string without_time_and_place(std::string text, const std::string& folder) {
    for (auto at = text.find(folder); at != std::string::npos; at = text.find(folder)) { text.replace(at, folder.size(), "<folder>"); }
    static const std::regex time(R"(\d{4}-\d\d-\d\d[_ ]\d\d[-:]\d\d[-:]\d\d)");
    return std::regex_replace(text, time, "<time>");
}

// What a recorded call shows of an argument.
template <typename Argument>
auto shown(Argument argument) {
    if constexpr (std::is_integral_v<Argument>) {
        return argument;
    } else if constexpr (std::is_convertible_v<Argument, LPCWSTR>) {
        return argument == nullptr ? std::string() : narrow(argument);
    } else {
        return 0;
    }
}

} // namespace

Facts facts_of(const std::string& document) {
    Facts facts;
    const auto json = nlohmann::json::parse(document);
    for (const auto& [name, value] : json.items()) {
        facts["fact " + name] = name == "system_uptime_since" ? std::to_string(value.dump().size()) : value.dump();
    }
    facts["fact cfgfile_filepath"] = ""; // of the temporary folder
    return facts;
}

std::string difference(const Facts& expected, const Facts& got) {
    Lines lines;
    const auto compare = [&](const Facts& some, const Facts& others, const char* word) {
        for (const auto& [name, value] : some) {
            if (const auto other = others.find(name); other == others.end() || other->second != value) {
                lines.push_back(fmt::format("{}: {} {}", name, word, brief(value)));
            }
        }
    };
    compare(expected, got, "expected");
    compare(got, expected, "got");
    std::ranges::sort(lines);
    const std::size_t count = lines.size();
    lines.resize(std::min<std::size_t>(count, 20));
    return count == 0 ? "" : fmt::format("\n{}\n{} lines in all", fmt::join(lines, "\n"), count);
}

Machine::Machine() {
    FakedWmi::install(replaced_);
    looked_up = this;
    fake_files_and_streams();
    fake_processes();
    fake_event_log();
    fake_service();
    fake_windows();
    fake_network();
    fake_signatures();
    count_handles();
    restore();
}

void Machine::restore(bool configured) {
    folder.clear();
    static_cast<Settings&>(*this) = Settings();
    static const EventBatch large = large_batch();
    event_log = {{0, event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"})}, {0, large}};
    put_file(windows / L"Temp" / L"corvel" / L"setup.log", "setup");
    put_file(windows / L"Logs" / L"CBS" / L"CBS.log", "1");
    put_file(windows / L"SoftwareDistribution" / L"ReportingEvents.log", "2");
    configuration_.clear();
    if (configured) {
        configure(R"({"log_level":"debug"})");
        put_file(agent / L"agent.log", std::string(reinterpret_cast<const char*>(large.data()), 120000));
    }
    for (const char* name : {"release.json", "developer.p7s"}) {
        std::filesystem::copy(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name, folder.path);
    }
    SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", nullptr);
    FakedWmi::rows = {{{L"OperatingSystemSKU", 48L}, {L"LicenseFamily", L"Pro"}, {L"LicenseStatus", 1L}, {L"Name", L"w"}, {L"ApplicationID", L"id"}}};
}

void Machine::configure(const std::string& content) {
    put_file(agent / L"corvel.json", content);
    configuration_ = content;
}

Outcome Machine::run(const Lines& arguments, const Change& change) {
    // What is done once in a process is not part of the run.
    static const bool initialised = (Crypto::init(), true);
    EXPECT_TRUE(initialised);
    { const System::WindowsIpcApartment loads_winrt; }
    Config::current() = Config::Record();
    System::system_info() = System::SystemInfo();
    RecordedLog::take();
    calls_.clear();
    FakedWmi::asked.clear();
    std::ranges::fill(streams_, "");
    Outcome outcome;
    auto changed = change ? change() : nullptr;
    handles_ = 0;
    try {
        outcome.end = fmt::format("status {}", Commands::dispatch(arguments));
    } catch (const std::exception& error) { outcome.end = error.what(); }
    EXPECT_EQ(handles_, 0) << "handles are left open";
    changed.reset();
    EXPECT_EQ(FakedWmi::references, 0) << "COM objects are left";
    const auto without = [place = narrow(folder.path)](const std::string& text) { return without_time_and_place(text, place); };
    outcome.end = without(outcome.end);
    outcome.out = without(streams_[1]);
    outcome.err = without(streams_[2]);
    std::ranges::transform(RecordedLog::take(), std::back_inserter(outcome.log), without);
    std::ranges::transform(calls_, std::back_inserter(outcome.calls), without);
    outcome.facts = facts();
    const std::string content = get_file(agent / L"corvel.json");
    EXPECT_TRUE(content == configuration_ || content == Config::serialise(Config::current())) << content;
    return outcome;
}

Facts Machine::facts() const {
    Facts facts;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path().extension() == L".zip") {
            const Archive archive(entry.path());
            facts.insert(archive.members.begin(), archive.members.end());
            facts["archive"] = archive.complete ? "complete" : "incomplete";
        }
    }
    if (const auto document = facts.extract("corvel_metadata.txt")) { facts.merge(facts_of(document.mapped())); }
    facts["configuration"] = get_file(agent / L"corvel.json");
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(agent, none)) {
        facts["folder of the configuration"] += entry.path().filename().string() + " ";
    }
    return facts;
}

// Expects of every call what the matcher says of its arguments.
template <typename Result, typename... Args>
void Machine::expects(Fakes::Fake<Result(Args...)>& function, auto arguments) {
    fake(function, [=, &function, healthy = function](Args... args) {
        EXPECT_THAT(std::forward_as_tuple(args...), arguments) << function.name;
        return healthy(args...);
    });
}

// Notes every call; the format has the arguments.
template <typename Result, typename... Args>
void Machine::records(Fakes::Fake<Result(Args...)>& function, std::string format) {
    fake(function, [=, this, healthy = function](Args... args) {
        calls_.push_back(fmt::format(fmt::runtime(format), shown(args)...));
        return healthy(args...);
    });
}

void Machine::fake_files_and_streams() {
    fake(Fakes::GetConsoleMode, [](auto...) { return FALSE; });
    fake(Fakes::_write, [this](int file, const void* bytes, unsigned size) {
        streams_[file].append(static_cast<const char*>(bytes), size);
        return static_cast<int>(size);
    });
    fake(Fakes::SHGetKnownFolderPath, [this](const GUID& id, auto, auto, PWSTR* path) {
        return SHStrDupW(id == FOLDERID_Windows ? windows.c_str() : agent.parent_path().c_str(), path);
    });
    expects(Fakes::SHGetKnownFolderPath, FieldsAre(AnyOf(FOLDERID_Windows, FOLDERID_ProgramData), 0U, IsNull(), NotNull()));
    const auto copy = [](const std::wstring& text, LPWSTR buffer, DWORD size) {
        if (text.size() >= size) { return static_cast<DWORD>(text.size()) + 1; }
        return std::wcscpy(buffer, text.c_str()), static_cast<DWORD>(text.size());
    };
    fake(Fakes::GetTempPathW, [=, this](DWORD size, LPWSTR buffer) { return copy(folder.path.native() + L"\\", buffer, size); });
    fake(Fakes::GetEnvironmentVariableW, [=, this](LPCWSTR name, LPWSTR buffer, DWORD size) {
        const auto value = environment.find(name);
        return value == environment.end() ? refuse(ERROR_ENVVAR_NOT_FOUND, DWORD{0}) : copy(value->second, buffer, size);
    });
    fake(Fakes::GetWindowsDirectoryW, [=, this](LPWSTR buffer, UINT size) { return UINT{copy(windows.native(), buffer, size)}; });
    expects(Fakes::GetWindowsDirectoryW, FieldsAre(NotNull(), UINT{MAX_PATH}));
    constexpr DWORD no_impersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    constexpr DWORD follow_no_link = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
    expects(Fakes::CreateFileW, AnyOf(FieldsAre(_, GENERIC_READ, 7U, IsNull(), DWORD{OPEN_EXISTING}, no_impersonation, IsNull()),
                                      FieldsAre(_, DWORD{GENERIC_WRITE}, Lt(4U), IsNull(), DWORD{CREATE_NEW}, follow_no_link, IsNull())));
    expects(Fakes::MoveFileExW, FieldsAre(StrEq(agent / L"corvel.json._corvel_tmp"), StrEq(agent / L"corvel.json"),
                                          DWORD{MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED}));
}

void Machine::fake_processes() {
    fake(Fakes::CreateProcessW, [this](auto, auto, auto, auto, auto, auto, auto, auto, auto, PROCESS_INFORMATION* started) {
        wchar_t value[2]{};
        EXPECT_EQ((*Fakes::GetEnvironmentVariableW.original)(L"NoDefaultCurrentDirectoryInExePath", value, 2), 1U);
        process = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        put_file("WindowsUpdate.log", "3");
        return TRUE;
    });
    expects(Fakes::CreateProcessW, FieldsAre(IsNull(), _, IsNull(), IsNull(), FALSE, DWORD{CREATE_NO_WINDOW}, IsNull(), IsNull(),
                                             Pointee(Field(&STARTUPINFOW::cb, sizeof(STARTUPINFOW))), _));
    records(Fakes::CreateProcessW, "{1}");
    // The logging library waits as well.
    expects(Fakes::WaitForSingleObject,
            Truly([this](const auto& arguments) { return std::get<0>(arguments) != process || std::get<1>(arguments) == INFINITE; }));
}

void Machine::fake_event_log() {
    fake(Fakes::OpenEventLogW, FieldsAre(IsNull(), StrEq(L"corvel")), [](auto...) { return log_handle; });
    fake(Fakes::CloseEventLog, [](HANDLE log) { return log == log_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE); });
    fake(Fakes::ReadEventLogW, [this](auto, auto, auto, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
        if (event_log.empty()) { return refuse(ERROR_HANDLE_EOF, FALSE); }
        const Read next = event_log.front();
        *needed = next.needed != 0 ? next.needed : static_cast<DWORD>(next.batch.size());
        if (next.error == 0 && next.batch.size() > size) { return refuse(ERROR_INSUFFICIENT_BUFFER, FALSE); }
        event_log.pop_front();
        std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
        *count = static_cast<DWORD>(next.batch.size());
        return next.error == 0 ? TRUE : refuse(next.error, FALSE);
    });
    expects(Fakes::ReadEventLogW, FieldsAre(log_handle, DWORD{EVENTLOG_SEQUENTIAL_READ | EVENTLOG_FORWARDS_READ}, 0U, _, _, _, _));
    records(Fakes::ReadEventLogW, "read {4}");
}

// The clock moves only when somebody sleeps.
void Machine::fake_service() {
    const auto permits = [this](DWORD right) {
        return [=, this](SC_HANDLE handle, auto...) {
            return handle == service_handle && (service_rights_ & right) != 0 ? TRUE : refuse(ERROR_ACCESS_DENIED, FALSE);
        };
    };
    fake(Fakes::OpenSCManagerW, FieldsAre(IsNull(), StrEq(SERVICES_ACTIVE_DATABASEW), _), [](auto...) { return manager_handle; });
    records(Fakes::OpenSCManagerW, "open manager for {2:#x}");
    fake(Fakes::OpenServiceW, [this](SC_HANDLE manager, auto, DWORD rights) {
        service_rights_ = rights;
        return manager == manager_handle ? service_handle : nullptr;
    });
    records(Fakes::OpenServiceW, "open {1} for {2:#x}");
    fake(Fakes::CloseServiceHandle,
         [](SC_HANDLE handle) { return handle == manager_handle || handle == service_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE); });
    fake(Fakes::QueryServiceStatus, [=, this](SC_HANDLE handle, LPSERVICE_STATUS status) {
        std::tie(status->dwCurrentState, status->dwWaitHint) = service.front();
        if (service.size() > 1) { service.pop_front(); }
        return permits(SERVICE_QUERY_STATUS)(handle);
    });
    fake(Fakes::ControlService, permits(SERVICE_STOP));
    records(Fakes::ControlService, "control {1}");
    fake(Fakes::ChangeServiceConfig2W, permits(SERVICE_CHANGE_CONFIG));
    const auto delayed = [](LPVOID info) { return static_cast<SERVICE_DELAYED_AUTO_START_INFO*>(info)->fDelayedAutostart; };
    expects(Fakes::ChangeServiceConfig2W, FieldsAre(_, DWORD{SERVICE_CONFIG_DELAYED_AUTO_START_INFO}, ResultOf(delayed, TRUE)));
    records(Fakes::ChangeServiceConfig2W, "delay start");
    fake(Fakes::StartServiceW, FieldsAre(_, 0U, IsNull()), permits(SERVICE_START));
    records(Fakes::StartServiceW, "start");
    fake(Fakes::GetTickCount, [this] { return now; });
    fake(Fakes::Sleep, [this](DWORD milliseconds) {
        now += milliseconds;
        // The logging library sleeps as well, but not for long.
        if (milliseconds >= 100) { calls_.push_back(fmt::format("sleep {}", milliseconds)); }
    });
}

void Machine::fake_windows() {
    fake(Fakes::CoInitializeEx, FieldsAre(IsNull(), DWORD{COINIT_MULTITHREADED}), [](auto...) { return S_OK; });
    fake(Fakes::CoUninitialize, [this] { calls_.push_back("end COM"); });
    fake(Fakes::GetProcAddress, [this](HMODULE library, LPCSTR name) {
        if (std::string_view(name) == "RtlGetVersion") { return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(rtl_get_version)); }
        if (std::string_view(name) == "IsWow64Process2") {
            return reinterpret_cast<FARPROC>(native_machine != 0 ? reinterpret_cast<void*>(is_wow64_process2) : nullptr);
        }
        return (*Fakes::GetProcAddress.original)(library, name);
    });
    fake(Fakes::GetNativeSystemInfo, [this](SYSTEM_INFO* result) { result->wProcessorArchitecture = processor; });
    const std::wstring key = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
    const auto is_number = FieldsAre(HKEY_LOCAL_MACHINE, StrEq(key + L"\\Server\\ServerLevels"), _, DWORD{RRF_RT_REG_DWORD}, _, _, Pointee(4U));
    const auto is_text = FieldsAre(HKEY_LOCAL_MACHINE, StrEq(key), _, DWORD{RRF_RT_REG_SZ}, _, _, Pointee(512U));
    expects(Fakes::RegGetValueW, AnyOf(is_number, is_text));
    fake(Fakes::GetProductInfo, FieldsAre(6U, 3U, 0U, 0U, _), [this](auto, auto, auto, auto, DWORD* result) { return *result = product, TRUE; });
}

void Machine::fake_network() {
    fake(Fakes::gethostname, FieldsAre(_, 256), [](char* buffer, auto) { return std::strcpy(buffer, "gr\xFCn-and-more-than-fifteen"), 0; });
    fake(Fakes::MultiByteToWideChar,
         [](UINT page, auto... rest) { return (*Fakes::MultiByteToWideChar.original)(page == CP_ACP ? 1252 : page, rest...); });
    // By its number, for which the machine need not know the service.
    fake(Fakes::GetAddrInfoW, [this](LPCWSTR host, auto, auto hints, auto result) {
        const bool resolves = unresolvable.find(host) == std::wstring::npos;
        return resolves ? (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", L"443", hints, result) : WSAHOST_NOT_FOUND;
    });
    expects(Fakes::GetAddrInfoW, FieldsAre(_, StrEq(L"https"),
                                           Pointee(AllOf(Field(&ADDRINFOW::ai_flags, 0), Field(&ADDRINFOW::ai_family, 2),
                                                         Field(&ADDRINFOW::ai_socktype, 1), Field(&ADDRINFOW::ai_protocol, 6))),
                                           _));
    fake(Fakes::GetBestInterface, FieldsAre(0xBB010002U, _), [](auto, DWORD* index) { return *index = 2, 0UL; }); // 2.0.1.187
    fake(Fakes::GetIpAddrTable, [this](MIB_IPADDRTABLE* table, ULONG* size, auto) -> DWORD {
        const MIB_IPADDRROW rows[] = {{0x0100007F, 1}, {0x0100000A, 2}};
        const auto needed = static_cast<ULONG>(offsetof(MIB_IPADDRTABLE, table) + adapters * sizeof rows[0]);
        if (std::exchange(*size, needed) < needed || table == nullptr) { return ERROR_INSUFFICIENT_BUFFER; }
        table->dwNumEntries = adapters + 100; // more than there is room for
        std::copy_n(rows, adapters, &table->table[0]);
        return NO_ERROR;
    });
}

void Machine::fake_signatures() {
    const auto memory_store = [] { return (*Fakes::CertOpenStore.original)(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr); };
    // The machine's own roots are many.
    fake(Fakes::CertOpenSystemStoreW, FieldsAre(0U, StrEq(L"ROOT")), [=](auto...) { return memory_store(); });
    fake(Fakes::CertOpenStore, [=, this](LPCSTR provider, auto... rest) {
        const bool of_message = provider == CERT_STORE_PROV_PKCS7 && !signers.empty();
        return of_message ? memory_store() : (*Fakes::CertOpenStore.original)(provider, rest...);
    });
    expects(Fakes::CertCloseStore, FieldsAre(_, DWORD{CERT_CLOSE_STORE_CHECK_FLAG}));
    expects(Fakes::CertCreateCertificateChainEngine, FieldsAre(Pointee(Field(&CERT_CHAIN_ENGINE_CONFIG::cbSize, 80U)), _));
    fake(Fakes::CryptGetMessageSignerCount,
         [this](auto... arguments) { return signers.empty() ? (*Fakes::CryptGetMessageSignerCount.original)(arguments...) : counted_signers; });
    fake(Fakes::CryptVerifyDetachedMessageSignature,
         [this](auto a, DWORD signer, auto c, auto d, auto e, auto f, auto g, PCCERT_CONTEXT* certificate) {
             if (signers.empty()) { return (*Fakes::CryptVerifyDetachedMessageSignature.original)(a, signer, c, d, e, f, g, certificate); }
             if (signer >= signers.size()) { return refuse(static_cast<DWORD>(CRYPT_E_NO_SIGNER), FALSE); }
             const auto [der, good] = signers[signer];
             *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
             return good ? TRUE : refuse(static_cast<DWORD>(NTE_BAD_SIGNATURE), FALSE);
         });
    using Parameters = CRYPT_VERIFY_MESSAGE_PARA;
    const auto parameters = AllOf(Field(&Parameters::cbSize, sizeof(Parameters)), Field(&Parameters::dwMsgAndCertEncodingType, 0x10001U));
    expects(Fakes::CryptVerifyDetachedMessageSignature, FieldsAre(Pointee(parameters), _, _, _, 1U, _, _, _));
    expects(Fakes::CertGetCertificateChain,
            FieldsAre(NotNull(), _, IsNull(), NotNull(), Pointee(Field(&CERT_CHAIN_PARA::cbSize, sizeof(CERT_CHAIN_PARA))), _, _, _));
    records(Fakes::CertGetCertificateChain, "chain with flags {5}");
}

void Machine::count_handles() {
    const auto count = [this](int change, auto succeeded, auto&... fakes) {
        const auto count_one = [=, this]<typename Result, typename... Args>(Fakes::Fake<Result(Args...)>& function) {
            fake(function, [=, this, uncounted = function](Args... args) {
                const Result result = uncounted(args...);
                handles_ += succeeded(result) ? change : 0;
                return result;
            });
        };
        (count_one(fakes), ...);
    };
    const auto is_zero = [](int result) { return result == 0; };
    const auto is_true = [](BOOL result) { return result != FALSE; };
    const auto is_handle = [](auto handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; };
    count(1, is_handle, Fakes::CreateFileW, Fakes::OpenEventLogW, Fakes::OpenSCManagerW, Fakes::OpenServiceW, Fakes::CertOpenStore,
          Fakes::CertOpenSystemStoreW);
    count(2, is_true, Fakes::CreateProcessW);
    count(-1, is_true, Fakes::CloseHandle, Fakes::CloseEventLog, Fakes::CloseServiceHandle, Fakes::CertCloseStore);
    count(1, is_zero, Fakes::WSAStartup);
    count(-1, is_zero, Fakes::WSACleanup);
}
