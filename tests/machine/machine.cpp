#include "machine/machine.h"

#include "config/record.h"
#include "crypto_win32/trust.h"
#include "main/dispatch.h"
#include "support/archive.h"
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

// Puts names in place of the test's folder, of the time, and of how much there is of something.
void name_time_and_place(std::string& text, const std::string& folder) {
    static const std::regex time(R"(\d{4}-\d\d-\d\d[_ ]\d\d[-:]\d\d[-:]\d\d(\.\d{7})?)");
    static const std::regex amount(R"(\d+(?= (bytes|Windows licenses)))");
    for (auto at = text.find(folder); at != std::string::npos; at = text.find(folder)) { text.replace(at, folder.size(), "<folder>"); }
    text = std::regex_replace(std::regex_replace(text, time, "<time>"), amount, "<n>");
}

// What a recorded call shows of an argument.
auto shown(const std::integral auto& number) { return number; }
std::string shown(const std::convertible_to<LPCWSTR> auto& text) { return text == nullptr ? "" : narrow(text); }
int shown(const auto&) { return 0; }

bool succeeded(BOOL result) { return result != FALSE; }
bool succeeded(const void* handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

} // namespace

Facts facts_of(const std::string& document) {
    Facts facts;
    const auto json = nlohmann::json::parse(document);
    for (const auto& [name, value] : json.items()) { facts["fact " + name] = name == "system_uptime_since" ? std::regex_replace(value.dump(), std::regex(R"(\.\d{7})"), "") : value.dump(); }
    facts["fact cfgfile_filepath"] = ""; // of the temporary folder
    return facts;
}

std::string difference(const Facts& expected, const Facts& got) {
    Lines lines;
    const auto add = [&](const Facts& some, const Facts& others, const char* word) {
        std::vector<Facts::value_type> only;
        std::ranges::set_difference(some, others, std::back_inserter(only));
        only.resize(std::min<std::size_t>(only.size(), 10));
        for (const auto& [name, value] : only) { lines.push_back(fmt::format("{}: {} {}", name, word, brief(value))); }
    };
    add(expected, got, "expected");
    add(got, expected, "got");
    return fmt::format("{}", fmt::join(lines, "\n"));
}

Machine::Machine() {
    FakedWmi::install(replaced_);
    looked_up = this;
    fake_files_and_processes();
    fake_service_and_event_log();
    fake_windows_and_network();
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
        put_file(agent / L"update.log", "update");
        put_file(agent / L"agent.log", std::string(reinterpret_cast<const char*>(large.data()), 120000));
    }
    for (const char* name : {"release.json", "developer.p7s"}) { std::filesystem::copy(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name, folder.path); }
    SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", nullptr);
    FakedWmi::rows = {{{L"OperatingSystemSKU", 48L}, {L"LicenseFamily", L"Pro"}, {L"LicenseStatus", 1L}, {L"Name", L"w\xD800"}, {L"ApplicationID", L"id"}}};
}

Outcome Machine::run(const Lines& arguments, const Change& change) {
    // What is done once in a process is not part of the run.
    [[maybe_unused]] static const bool initialised = (Crypto::init(), true);
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
    outcome.log = RecordedLog::take();
    outcome.calls = std::move(calls_);
    std::tie(outcome.out, outcome.err) = std::tie(streams_[1], streams_[2]);
    for (std::string* text : {&outcome.end, &outcome.out, &outcome.err}) { name_time_and_place(*text, narrow(folder.path)); }
    for (Lines* lines : {&outcome.log, &outcome.calls}) {
        std::ranges::for_each(*lines, [&](auto& line) { name_time_and_place(line, narrow(folder.path)); });
    }
    outcome.facts = facts();
    EXPECT_FALSE(std::filesystem::exists(agent / L"corvel.json._corvel_tmp"));
    const std::string content = get_file(agent / L"corvel.json");
    EXPECT_TRUE(content == configuration_ || content == Config::serialise(Config::current())) << content;
    return outcome;
}

Facts Machine::facts() const {
    Facts facts;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path().extension() == L".zip") {
            const Archive archive(entry.path());
            for (const auto& [name, content] : archive.members) { facts[name] += content; }
            facts["archive"] = archive.complete ? "complete" : "incomplete";
        }
    }
    if (const auto document = facts.extract("corvel_metadata.txt")) { facts.merge(facts_of(document.mapped())); }
    facts["configuration"] = get_file(agent / L"corvel.json");
    return facts;
}

template <typename Result, typename... Args>
void Machine::fake(Fakes::Fake<Result(Args...)>& function, auto arguments, std::type_identity_t<std::function<Result(Args...)>> replacement, const std::string& format) {
    replaced_.emplace_front(function, [=, this, &function](Args... args) {
        EXPECT_THAT(std::forward_as_tuple(args...), arguments) << function.name;
        if (!format.empty()) { calls_.push_back(fmt::format(fmt::runtime(format), shown(args)...)); }
        return replacement(args...);
    });
}

void Machine::fake_files_and_processes() {
    fake(Fakes::GetConsoleMode, _, [](auto...) { return FALSE; });
    fake(Fakes::_write, _, [this](int file, const void* bytes, unsigned size) {
        streams_[file].append(static_cast<const char*>(bytes), size);
        EXPECT_TRUE(Value(streams_[1], Not(HasSubstr("Please try"))) || Value(RecordedLog::lines, Contains(StartsWith("critical")))) << "the hint comes before the reason";
        return static_cast<int>(size);
    });
    fake(Fakes::SHGetKnownFolderPath, FieldsAre(AnyOf(FOLDERID_Windows, FOLDERID_ProgramData), 0U, IsNull(), NotNull()),
        [this](const GUID& id, auto, auto, PWSTR* path) { return SHStrDupW(id == FOLDERID_Windows ? windows.c_str() : agent.parent_path().c_str(), path); });
    const auto copy = [](const std::wstring& text, LPWSTR buffer, DWORD size) {
        if (text.size() >= size) { return static_cast<DWORD>(text.size()) + 1; }
        return std::wcscpy(buffer, text.c_str()), static_cast<DWORD>(text.size());
    };
    fake(Fakes::GetTempPathW, _, [=, this](DWORD size, LPWSTR buffer) { return copy(folder.path.native() + L"\\", buffer, size); });
    fake(Fakes::GetEnvironmentVariableW, _, [=, this](LPCWSTR name, LPWSTR buffer, DWORD size) {
        const auto value = environment.find(name);
        return value == environment.end() ? refuse(ERROR_ENVVAR_NOT_FOUND, DWORD{0}) : copy(value->second, buffer, size);
    });
    fake(Fakes::GetWindowsDirectoryW, FieldsAre(NotNull(), UINT{MAX_PATH}), [=, this](LPWSTR buffer, UINT size) { return UINT{copy(windows.native(), buffer, size)}; });
    constexpr DWORD no_impersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    constexpr DWORD follow_no_link = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
    expects(Fakes::CreateFileW, AnyOf(FieldsAre(_, GENERIC_READ, 7U, IsNull(), DWORD{OPEN_EXISTING}, no_impersonation, IsNull()),
                                    FieldsAre(_, DWORD{GENERIC_WRITE}, Lt(4U), IsNull(), DWORD{CREATE_NEW}, follow_no_link, IsNull())));
    expects(Fakes::MoveFileExW, FieldsAre(StrEq(agent / L"corvel.json._corvel_tmp"), StrEq(agent / L"corvel.json"), DWORD{MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED}));

    const auto start = [this](auto, auto, auto, auto, auto, auto, auto, auto, auto, PROCESS_INFORMATION* started) {
        wchar_t value[2]{};
        EXPECT_EQ((*Fakes::GetEnvironmentVariableW.original)(L"NoDefaultCurrentDirectoryInExePath", value, 2), 1U);
        power_shell_ = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        return put_file("WindowsUpdate.log", "3"), TRUE;
    };
    const auto is_sized = Pointee(Field(&STARTUPINFOW::cb, sizeof(STARTUPINFOW)));
    fake(Fakes::CreateProcessW, FieldsAre(IsNull(), _, IsNull(), IsNull(), FALSE, DWORD{CREATE_NO_WINDOW}, IsNull(), IsNull(), is_sized, _), start, "{1}");
    // The logging library waits as well.
    expects(Fakes::WaitForSingleObject, Truly([this](const auto& arguments) { return std::get<0>(arguments) != power_shell_ || std::get<1>(arguments) == INFINITE; }));
}

void Machine::fake_service_and_event_log() {
    fake(Fakes::OpenEventLogW, FieldsAre(IsNull(), StrEq(L"corvel")), [](auto...) { return log_handle; });
    fake(Fakes::CloseEventLog, _, [](HANDLE log) { return log == log_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE); });
    constexpr DWORD forwards = EVENTLOG_SEQUENTIAL_READ | EVENTLOG_FORWARDS_READ;
    const auto read = [this](auto, auto, auto, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
        if (event_log.empty()) { return refuse(ERROR_HANDLE_EOF, FALSE); }
        const Read next = event_log.front();
        *needed = next.needed != 0 ? next.needed : static_cast<DWORD>(next.batch.size());
        if (next.error == 0 && next.batch.size() > size) { return refuse(ERROR_INSUFFICIENT_BUFFER, FALSE); }
        event_log.pop_front();
        std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
        *count = static_cast<DWORD>(next.batch.size());
        return next.error == 0 ? TRUE : refuse(next.error, FALSE);
    };
    fake(Fakes::ReadEventLogW, FieldsAre(log_handle, forwards, 0U, _, _, _, _), read, "read {4}");

    const auto permits = [this](DWORD right) {
        return [=, this](SC_HANDLE handle, auto...) { return handle == service_handle && (service_rights_ & right) != 0 ? TRUE : refuse(ERROR_ACCESS_DENIED, FALSE); };
    };
    const auto open = [this](SC_HANDLE manager, auto, DWORD rights) { return service_rights_ = rights, manager == manager_handle ? service_handle : nullptr; };
    fake(
        Fakes::OpenSCManagerW, FieldsAre(IsNull(), StrEq(SERVICES_ACTIVE_DATABASEW), _), [](auto...) { return manager_handle; }, "open manager for {2:#x}");
    fake(Fakes::OpenServiceW, _, open, "open {1} for {2:#x}");
    fake(Fakes::CloseServiceHandle, _, [](SC_HANDLE handle) { return handle == manager_handle || handle == service_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE); });
    fake(Fakes::QueryServiceStatus, _, [=, this](SC_HANDLE handle, LPSERVICE_STATUS status) {
        std::tie(status->dwCurrentState, status->dwWaitHint) = service.front();
        if (service.size() > 1) { service.pop_front(); }
        return permits(SERVICE_QUERY_STATUS)(handle);
    });
    const auto is_delay = ResultOf([](LPVOID info) { return static_cast<SERVICE_DELAYED_AUTO_START_INFO*>(info)->fDelayedAutostart; }, TRUE);
    fake(Fakes::ControlService, _, permits(SERVICE_STOP), "control {1}");
    fake(Fakes::ChangeServiceConfig2W, FieldsAre(_, DWORD{SERVICE_CONFIG_DELAYED_AUTO_START_INFO}, is_delay), permits(SERVICE_CHANGE_CONFIG), "delay start");
    fake(Fakes::StartServiceW, FieldsAre(_, 0U, IsNull()), permits(SERVICE_START), "start");
    // The clock moves only when the tool sleeps.
    fake(Fakes::GetTickCount, _, [this] { return now; });
    fake(Fakes::Sleep, _, [this](DWORD milliseconds) {
        // The logging library's thread sleeps as well, but not for long.
        if (milliseconds < 100) { return (*Fakes::Sleep.original)(milliseconds); }
        now += milliseconds;
        calls_.push_back(fmt::format("sleep {}", milliseconds));
    });
}

void Machine::fake_windows_and_network() {
    fake(Fakes::CoInitializeEx, FieldsAre(IsNull(), DWORD{COINIT_MULTITHREADED}), [](auto...) { return S_OK; });
    fake(Fakes::CoUninitialize, _, [] { FakedWmi::asked.push_back("end COM"); });
    fake(Fakes::GetProcAddress, _, [this](HMODULE library, LPCSTR name) {
        if (std::string_view(name) == "RtlGetVersion") { return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(rtl_get_version)); }
        if (std::string_view(name) == "IsWow64Process2") { return reinterpret_cast<FARPROC>(native_machine != 0 ? reinterpret_cast<void*>(is_wow64_process2) : nullptr); }
        return (*Fakes::GetProcAddress.original)(library, name);
    });
    fake(Fakes::GetNativeSystemInfo, _, [this](SYSTEM_INFO* result) { result->wProcessorArchitecture = processor; });
    const std::wstring key = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
    const auto is_number = FieldsAre(HKEY_LOCAL_MACHINE, StrEq(key + L"\\Server\\ServerLevels"), _, DWORD{RRF_RT_REG_DWORD}, _, _, Pointee(4U));
    expects(Fakes::RegGetValueW, AnyOf(is_number, FieldsAre(HKEY_LOCAL_MACHINE, StrEq(key), _, DWORD{RRF_RT_REG_SZ}, _, _, Pointee(512U))));
    fake(Fakes::GetProductInfo, FieldsAre(6U, 3U, 0U, 0U, _), [this](auto, auto, auto, auto, DWORD* result) { return *result = product, TRUE; });

    // It was started half a second after 14:05:09 on the 31st of January 2025.
    fake(Fakes::GetTickCount64, _, [] { return static_cast<ULONGLONG>(std::chrono::system_clock::now().time_since_epoch() / std::chrono::milliseconds(1) - 1738332309500); });
    fake(Fakes::gethostname, FieldsAre(_, 256), [](char* buffer, auto) { return lstrcpyA(buffer, "gr\xFCn-and-more-than-fifteen"), 0; });
    fake(Fakes::MultiByteToWideChar, _, [](UINT page, auto... rest) { return (*Fakes::MultiByteToWideChar.original)(page == CP_ACP ? 1252 : page, rest...); });
    const auto is_tcp = Pointee(AllOf(Field(&ADDRINFOW::ai_flags, 0), Field(&ADDRINFOW::ai_family, 2), Field(&ADDRINFOW::ai_socktype, 1), Field(&ADDRINFOW::ai_protocol, 6)));
    fake(Fakes::GetAddrInfoW, FieldsAre(_, StrEq(L"https"), is_tcp, _), [this](LPCWSTR host, auto, auto hints, auto result) {
        const bool resolves = unresolvable.find(host) == std::wstring::npos;
        // By its number, for which the machine need not know the service.
        return resolves ? (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", L"443", hints, result) : WSAHOST_NOT_FOUND;
    });
    fake(Fakes::GetBestInterface, FieldsAre(0xBB010002U, _), [](auto, DWORD* index) { return *index = 2, 0UL; }); // 2.0.1.187
    fake(Fakes::GetIpAddrTable, _, [this](MIB_IPADDRTABLE* table, ULONG* size, auto) -> DWORD {
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
    fake(Fakes::CertOpenStore, _, [=, this](LPCSTR provider, auto... rest) {
        const bool of_message = provider == CERT_STORE_PROV_PKCS7 && !signers.empty();
        return of_message ? memory_store() : (*Fakes::CertOpenStore.original)(provider, rest...);
    });
    expects(Fakes::CertCloseStore, FieldsAre(_, DWORD{CERT_CLOSE_STORE_CHECK_FLAG}));
    expects(Fakes::CertCreateCertificateChainEngine, FieldsAre(Pointee(Field(&CERT_CHAIN_ENGINE_CONFIG::cbSize, 80U)), _));
    fake(Fakes::CryptGetMessageSignerCount, _, [this](auto... arguments) { return signers.empty() ? (*Fakes::CryptGetMessageSignerCount.original)(arguments...) : counted_signers; });
    const auto verify = [this](auto a, DWORD signer, auto c, auto d, auto e, auto f, auto g, PCCERT_CONTEXT* certificate) {
        if (signers.empty()) { return (*Fakes::CryptVerifyDetachedMessageSignature.original)(a, signer, c, d, e, f, g, certificate); }
        if (signer >= signers.size()) { return refuse(static_cast<DWORD>(CRYPT_E_NO_SIGNER), FALSE); }
        const auto [der, good] = signers[signer];
        *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
        return good ? TRUE : refuse(static_cast<DWORD>(NTE_BAD_SIGNATURE), FALSE);
    };
    using Parameters = CRYPT_VERIFY_MESSAGE_PARA;
    const auto parameters = Pointee(AllOf(Field(&Parameters::cbSize, sizeof(Parameters)), Field(&Parameters::dwMsgAndCertEncodingType, 0x10001U)));
    fake(Fakes::CryptVerifyDetachedMessageSignature, FieldsAre(parameters, _, _, _, 1U, _, _, _), verify);
    const auto is_sized = Pointee(Field(&CERT_CHAIN_PARA::cbSize, sizeof(CERT_CHAIN_PARA)));
    fake(Fakes::CertGetCertificateChain, FieldsAre(NotNull(), _, IsNull(), NotNull(), is_sized, _, _, _), Fakes::CertGetCertificateChain, "chain with flags {5}");
}

void Machine::count_handles() {
    const auto count = [this](int change, auto&... functions) {
        const auto count_one = [=, this]<typename Result, typename... Args>(Fakes::Fake<Result(Args...)>& function) {
            replaced_.emplace_front(function, [=, this, uncounted = function](Args... args) {
                const Result result = uncounted(args...);
                handles_ += succeeded(result) ? change : 0;
                return result;
            });
        };
        (count_one(functions), ...);
    };
    count(1, Fakes::CreateFileW, Fakes::OpenEventLogW, Fakes::OpenSCManagerW, Fakes::OpenServiceW, Fakes::CertOpenStore, Fakes::CertOpenSystemStoreW);
    count(2, Fakes::CreateProcessW);
    count(-1, Fakes::CloseHandle, Fakes::CloseEventLog, Fakes::CloseServiceHandle, Fakes::CertCloseStore);
}
