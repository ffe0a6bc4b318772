#include "machine/machine.h"

#include "config/record.h"
#include "crypto_win32/trust.h"
#include "main/dispatch.h"
#include "support/archive.h"
#include "support/recorded_log.h"
#include "system_win32/com.h"
#include "system_win32/system_info.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <random>
#include <regex>

namespace {

const auto manager_handle = reinterpret_cast<SC_HANDLE>(0x5c);
const auto service_handle = reinterpret_cast<SC_HANDLE>(0x5e);
const auto log_handle = reinterpret_cast<HANDLE>(0x10);

// Functions that are looked up have no room for what they belong to.
const Settings* looked_up = nullptr;

LONG WINAPI rtl_get_version(RTL_OSVERSIONINFOEXW* result) {
    // Windows fills as much as the size that it is told.
    EXPECT_EQ(result->dwOSVersionInfoSize, sizeof *result);
    std::memcpy(result, &looked_up->version, std::min<std::size_t>(result->dwOSVersionInfoSize, sizeof *result));
    return 0;
}

BOOL WINAPI is_wow64_process2(HANDLE process, USHORT*, USHORT* native) {
    EXPECT_EQ(process, GetCurrentProcess());
    *native = looked_up->native_machine;
    return TRUE;
}

// Fails as the system does.
template <typename Result>
Result refuse(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

std::string narrow(const std::wstring& text) {
    return std::filesystem::path(text).string();
}

EventBatch large_batch() {
    std::wstring noise(60000, L'\0');
    std::ranges::generate(
        noise, [random = std::mt19937()]() mutable { return static_cast<wchar_t>(0x4E00 + random() % 0x5000); });
    return event_record(L"corvel", 8, EVENTLOG_WARNING_TYPE, {noise});
}

} // namespace

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
    fake_streams();
    fake_files();
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
    std::filesystem::create_directories(windows / L"Temp" / L"corvel");
    put_file(windows / L"Temp" / L"corvel" / L"setup.log", "setup");
    configuration_.clear();
    if (configured) {
        configure(R"({"log_level":"debug"})");
        put_file(agent / L"agent.log", std::string(reinterpret_cast<const char*>(large.data()), 120000));
    }
    for (const char* name : {"release.json", "developer.p7s"}) {
        std::filesystem::copy(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name, folder.path());
    }
    FakedWmi::rows = {{{L"OperatingSystemSKU", 48L},
                       {L"LicenseFamily", L"Professional"},
                       {L"LicenseStatus", 1L},
                       {L"Name", L"Windows"},
                       {L"ApplicationID", L"id"}}};
}

void Machine::configure(const std::string& content) {
    std::filesystem::create_directories(agent);
    put_file(agent / L"corvel.json", content);
    configuration_ = content;
}

Outcome Machine::run(const Lines& arguments, const Change& change) {
    // What is done once in a process is not part of the run.
    if (arguments == verify_release) {
        static const bool initialised = (Crypto::init(), true);
        EXPECT_TRUE(initialised);
    } else if (arguments == create_support_bundle) {
        const System::WindowsIpcApartment loads_winrt;
    }
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
    } catch (const std::exception& error) {
        outcome.end = error.what();
    }
    EXPECT_EQ(handles_, 0) << "handles are left open";
    changed.reset();
    EXPECT_EQ(FakedWmi::references, 0) << "COM objects are left";
    const std::string folder_name = narrow(folder.path());
    const auto shown = [&](std::string text) {
        for (auto at = text.find(folder_name); at != std::string::npos; at = text.find(folder_name)) {
            text.replace(at, folder_name.size(), "<folder>");
        }
        static const std::regex time(R"(\d{4}-\d\d-\d\d[_ ]\d\d[-:]\d\d[-:]\d\d)");
        return std::regex_replace(text, time, "<time>");
    };
    outcome.end = shown(outcome.end);
    outcome.out = shown(streams_[1]);
    outcome.err = shown(streams_[2]);
    for (const std::string& line : RecordedLog::take()) {
        outcome.log.push_back(shown(line));
    }
    for (const std::string& call : calls_) {
        outcome.calls.push_back(shown(call));
    }
    outcome.facts = facts();
    const std::string content = get_file(agent / L"corvel.json");
    EXPECT_TRUE(content == configuration_ || content == Config::serialise(Config::current())) << content;
    return outcome;
}

Facts Machine::facts() const {
    Facts facts;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        if (entry.path().extension() == L".zip") {
            const Archive archive(entry.path());
            facts["archive"] = archive.complete ? "complete" : "incomplete";
            facts.insert(archive.members.begin(), archive.members.end());
        }
    }
    if (const auto document = facts.extract("corvel_metadata.txt")) {
        const auto json = nlohmann::json::parse(document.mapped());
        for (const auto& [name, value] : json.items()) {
            facts["fact " + name] = name == "system_uptime_since" ? std::to_string(value.dump().size()) : value.dump();
        }
        facts["fact cfgfile_filepath"] = ""; // of the temporary folder
    }
    facts["configuration"] = get_file(agent / L"corvel.json");
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(agent, none)) {
        facts["folder of the configuration"] += entry.path().filename().string() + " ";
    }
    return facts;
}

void Machine::fake_streams() {
    fake(Fakes::GetConsoleMode, [](auto...) { return FALSE; });
    fake(Fakes::_write, [this](int file, const void* bytes, unsigned size) {
        streams_[file].append(static_cast<const char*>(bytes), size);
        return static_cast<int>(size);
    });
}

void Machine::fake_files() {
    fake(Fakes::SHGetKnownFolderPath, [this](const GUID& id, DWORD flags, HANDLE token, PWSTR* path) {
        EXPECT_TRUE(flags == 0 && token == nullptr);
        EXPECT_TRUE(id == FOLDERID_Windows || id == FOLDERID_ProgramData);
        return SHStrDupW(id == FOLDERID_Windows ? windows.c_str() : agent.parent_path().c_str(), path);
    });
    fake(Fakes::GetWindowsDirectoryW, [this](LPWSTR buffer, UINT size) {
        EXPECT_EQ(size, UINT{MAX_PATH});
        return static_cast<UINT>(windows.native().copy(buffer, size));
    });
    fake(Fakes::CreateFileW, [](LPCWSTR name, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                                DWORD disposition, DWORD flags, HANDLE model) {
        constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        constexpr DWORD no_impersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
        constexpr DWORD follow_no_link = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
        const bool reads = access == GENERIC_READ && sharing == everybody && disposition == OPEN_EXISTING &&
                           flags == no_impersonation;
        const bool writes = access == GENERIC_WRITE && (sharing & FILE_SHARE_DELETE) == 0 && disposition == CREATE_NEW &&
                            flags == follow_no_link;
        EXPECT_TRUE((reads || writes) && security == nullptr && model == nullptr) << narrow(name);
        return (*Fakes::CreateFileW.original)(name, access, sharing, security, disposition, flags, model);
    });
    fake(Fakes::MoveFileExW, [this](LPCWSTR from, LPCWSTR to, DWORD flags) {
        EXPECT_EQ(flags, static_cast<DWORD>(MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED));
        EXPECT_EQ(to, agent / L"corvel.json");
        EXPECT_EQ(std::wstring(from), std::wstring(to) + L"._corvel_tmp");
        return (*Fakes::MoveFileExW.original)(from, to, flags);
    });
}

void Machine::fake_processes() {
    fake(Fakes::CreateProcessW, [this](LPCWSTR application, LPWSTR line, auto process_rights, auto thread_rights,
                                       BOOL inherit, DWORD flags, LPVOID environment, LPCWSTR current,
                                       STARTUPINFOW* startup, PROCESS_INFORMATION* started) {
        EXPECT_TRUE(application == nullptr && process_rights == nullptr && thread_rights == nullptr);
        EXPECT_TRUE(inherit == FALSE && flags == CREATE_NO_WINDOW && environment == nullptr && current == nullptr);
        EXPECT_EQ(startup->cb, sizeof *startup);
        wchar_t value[2]{};
        EXPECT_EQ((*Fakes::GetEnvironmentVariableW.original)(L"NoDefaultCurrentDirectoryInExePath", value, 2), 1U);
        calls_.push_back(narrow(line));
        process = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        return TRUE;
    });
    // The logging library waits as well.
    fake(Fakes::WaitForSingleObject, [this](HANDLE object, DWORD milliseconds) {
        EXPECT_TRUE(object != process || milliseconds == INFINITE);
        return (*Fakes::WaitForSingleObject.original)(object, milliseconds);
    });
}

void Machine::fake_event_log() {
    fake(Fakes::OpenEventLogW, [](LPCWSTR server, LPCWSTR name) {
        EXPECT_TRUE(server == nullptr && std::wstring_view(name) == L"corvel");
        return log_handle;
    });
    fake(Fakes::CloseEventLog, [](HANDLE log) { return log == log_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE); });
    fake(Fakes::ReadEventLogW,
         [this](HANDLE log, DWORD flags, DWORD offset, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
             EXPECT_TRUE(log == log_handle && offset == 0);
             EXPECT_EQ(flags, static_cast<DWORD>(EVENTLOG_SEQUENTIAL_READ | EVENTLOG_FORWARDS_READ));
             calls_.push_back(fmt::format("read {}", size));
             if (event_log.empty()) {
                 return refuse(ERROR_HANDLE_EOF, FALSE);
             }
             const Read next = event_log.front();
             *needed = next.needed != 0 ? next.needed : static_cast<DWORD>(next.batch.size());
             if (next.error == 0 && next.batch.size() > size) {
                 return refuse(ERROR_INSUFFICIENT_BUFFER, FALSE);
             }
             event_log.pop_front();
             std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
             *count = static_cast<DWORD>(next.batch.size());
             return next.error == 0 ? TRUE : refuse(next.error, FALSE);
         });
}

// The clock moves only when somebody sleeps.
void Machine::fake_service() {
    const auto call = [this](SC_HANDLE handle, DWORD right, const std::string& what) {
        calls_.push_back(what);
        return handle == service_handle && (service_rights_ & right) != 0 ? TRUE : refuse(ERROR_ACCESS_DENIED, FALSE);
    };
    fake(Fakes::OpenSCManagerW, [this](LPCWSTR machine, LPCWSTR database, DWORD rights) {
        EXPECT_TRUE(machine == nullptr && std::wstring_view(database) == SERVICES_ACTIVE_DATABASEW);
        calls_.push_back(fmt::format("open manager for {:#x}", rights));
        return manager_handle;
    });
    fake(Fakes::OpenServiceW, [this](SC_HANDLE manager, LPCWSTR name, DWORD rights) {
        EXPECT_EQ(manager, manager_handle);
        calls_.push_back(fmt::format("open {} for {:#x}", narrow(name), rights));
        service_rights_ = rights;
        return service_handle;
    });
    fake(Fakes::CloseServiceHandle, [](SC_HANDLE handle) {
        return handle == manager_handle || handle == service_handle ? TRUE : refuse(ERROR_INVALID_HANDLE, FALSE);
    });
    fake(Fakes::QueryServiceStatus, [this](SC_HANDLE handle, LPSERVICE_STATUS status) {
        EXPECT_TRUE(handle == service_handle && (service_rights_ & SERVICE_QUERY_STATUS) != 0);
        status->dwCurrentState = service.front().state;
        status->dwWaitHint = service.front().wait_hint;
        if (service.size() > 1) {
            service.pop_front();
        }
        return TRUE;
    });
    fake(Fakes::ControlService, [=](SC_HANDLE handle, DWORD control, auto) {
        return call(handle, SERVICE_STOP, fmt::format("control {}", control));
    });
    fake(Fakes::ChangeServiceConfig2W, [=](SC_HANDLE handle, DWORD level, LPVOID info) {
        return call(handle, SERVICE_CHANGE_CONFIG, fmt::format("configure {} as {}", level, *static_cast<BOOL*>(info)));
    });
    fake(Fakes::StartServiceW, [=](SC_HANDLE handle, DWORD count, auto) {
        return call(handle, SERVICE_START, fmt::format("start with {}", count));
    });
    fake(Fakes::GetTickCount, [this] { return now; });
    fake(Fakes::Sleep, [this](DWORD milliseconds) {
        now += milliseconds;
        // The logging library sleeps as well, but not for long.
        if (milliseconds >= 100) {
            calls_.push_back(fmt::format("sleep {}", milliseconds));
        }
    });
}

void Machine::fake_windows() {
    fake(Fakes::CoInitializeEx, [](LPVOID reserved, DWORD model) {
        EXPECT_TRUE(reserved == nullptr && model == COINIT_MULTITHREADED);
        return S_OK;
    });
    fake(Fakes::CoUninitialize, [this] { calls_.push_back("end COM"); });
    fake(Fakes::GetProcAddress, [this](HMODULE library, LPCSTR name) {
        if (std::string_view(name) == "RtlGetVersion") {
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(rtl_get_version));
        }
        if (std::string_view(name) == "IsWow64Process2") {
            return reinterpret_cast<FARPROC>(native_machine != 0 ? reinterpret_cast<void*>(is_wow64_process2) : nullptr);
        }
        return (*Fakes::GetProcAddress.original)(library, name);
    });
    fake(Fakes::GetNativeSystemInfo, [this](SYSTEM_INFO* result) { result->wProcessorArchitecture = processor; });
    fake(Fakes::RegGetValueW, [this](HKEY root, LPCWSTR key, LPCWSTR name, DWORD type, auto, void* data, DWORD* size) {
        const std::wstring levels = type == RRF_RT_REG_DWORD ? L"\\Server\\ServerLevels" : L"";
        EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
        EXPECT_EQ(key, L"Software\\Microsoft\\Windows NT\\CurrentVersion" + levels);
        const auto value = registry.find(name);
        if (value == registry.end()) {
            return LSTATUS{ERROR_FILE_NOT_FOUND};
        }
        const auto* const text = std::get_if<std::wstring>(&value->second);
        if ((type == RRF_RT_REG_SZ) != (text != nullptr)) {
            return LSTATUS{ERROR_UNSUPPORTED_TYPE};
        }
        const void* const content = text == nullptr ? &std::get<DWORD>(value->second) : static_cast<const void*>(text->c_str());
        const auto length = text == nullptr ? sizeof(DWORD) : (text->size() + 1) * sizeof(wchar_t);
        if (*size < length) {
            return LSTATUS{ERROR_MORE_DATA};
        }
        std::memcpy(data, content, length);
        return LSTATUS{ERROR_SUCCESS};
    });
    fake(Fakes::GetProductInfo, [this](DWORD a, DWORD b, DWORD c, DWORD d, DWORD* result) {
        EXPECT_TRUE(a == 6 && b == 3 && c == 0 && d == 0);
        *result = product;
        return TRUE;
    });
}

void Machine::fake_network() {
    fake(Fakes::gethostname, [](char* buffer, int size) {
        EXPECT_EQ(size, 256);
        std::string_view("gr\xFCn-and-more-than-fifteen").copy(buffer, static_cast<std::size_t>(size));
        return 0;
    });
    fake(Fakes::MultiByteToWideChar, [](UINT page, auto... rest) {
        return (*Fakes::MultiByteToWideChar.original)(page == CP_ACP ? 1252 : page, rest...);
    });
    fake(Fakes::GetAddrInfoW, [this](LPCWSTR host, LPCWSTR service_name, auto hints, auto result) {
        EXPECT_STREQ(service_name, L"https");
        EXPECT_TRUE(hints->ai_flags == 0 && hints->ai_family == 2 && hints->ai_socktype == 1 && hints->ai_protocol == 6);
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
    fake(Fakes::GetIpAddrTable, [this](MIB_IPADDRTABLE* table, ULONG* size, BOOL order) -> DWORD {
        EXPECT_FALSE(order);
        const MIB_IPADDRROW rows[] = {{0x0100007F, 1}, {0x0100000A, 2}};
        const auto needed = static_cast<ULONG>(offsetof(MIB_IPADDRTABLE, table) + adapters * sizeof rows[0]);
        if (table == nullptr || *size < needed) {
            *size = needed;
            return ERROR_INSUFFICIENT_BUFFER;
        }
        table->dwNumEntries = adapters + 100; // more than there is room for
        std::copy_n(rows, adapters, &table->table[0]);
        return NO_ERROR;
    });
}

void Machine::fake_signatures() {
    // The machine's own roots are many.
    fake(Fakes::CertOpenSystemStoreW, [](auto provider, LPCWSTR name) {
        EXPECT_TRUE(provider == 0 && std::wstring_view(name) == L"ROOT");
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
    fake(Fakes::CertCreateCertificateChainEngine, [](PCERT_CHAIN_ENGINE_CONFIG config, HCERTCHAINENGINE* engine) {
        EXPECT_EQ(config->cbSize, 80U);
        return (*Fakes::CertCreateCertificateChainEngine.original)(config, engine);
    });
    fake(Fakes::CryptGetMessageSignerCount, [this](auto... arguments) {
        return signers.empty() ? (*Fakes::CryptGetMessageSignerCount.original)(arguments...) : counted_signers;
    });
    fake(Fakes::CryptVerifyDetachedMessageSignature, [this](PCRYPT_VERIFY_MESSAGE_PARA parameters, DWORD signer, auto c,
                                                            auto d, DWORD contents, auto f, auto g,
                                                            PCCERT_CONTEXT* certificate) {
        EXPECT_TRUE(parameters->cbSize == sizeof *parameters && parameters->dwMsgAndCertEncodingType == 0x10001);
        EXPECT_EQ(contents, 1U);
        if (signers.empty()) {
            return (*Fakes::CryptVerifyDetachedMessageSignature.original)(parameters, signer, c, d, contents, f, g,
                                                                          certificate);
        }
        if (signer >= signers.size()) {
            return refuse(static_cast<DWORD>(CRYPT_E_NO_SIGNER), FALSE);
        }
        const auto [der, good] = signers[signer];
        *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
        return good ? TRUE : refuse(static_cast<DWORD>(NTE_BAD_SIGNATURE), FALSE);
    });
    fake(Fakes::CertGetCertificateChain, [this](auto engine, auto certificate, auto time, auto store,
                                                PCERT_CHAIN_PARA parameters, DWORD flags, auto reserved,
                                                PCCERT_CHAIN_CONTEXT* result) {
        EXPECT_TRUE(engine != nullptr && time == nullptr && store != nullptr && parameters->cbSize == sizeof *parameters);
        calls_.push_back(fmt::format("chain with flags {}", flags));
        *result = chain;
        return chain != nullptr ? TRUE
                                : (*Fakes::CertGetCertificateChain.original)(engine, certificate, time, store, parameters,
                                                                             flags, reserved, result);
    });
    fake(Fakes::CertFreeCertificateChain, [this](PCCERT_CHAIN_CONTEXT freed) {
        if (freed != chain) {
            (*Fakes::CertFreeCertificateChain.original)(freed);
        }
    });
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
    count(1, is_handle, Fakes::CreateFileW, Fakes::OpenEventLogW, Fakes::OpenSCManagerW, Fakes::OpenServiceW,
          Fakes::CertOpenStore, Fakes::CertOpenSystemStoreW);
    count(2, is_true, Fakes::CreateProcessW);
    count(-1, is_true, Fakes::CloseHandle, Fakes::CloseEventLog, Fakes::CloseServiceHandle, Fakes::CertCloseStore);
    count(1, is_zero, Fakes::WSAStartup);
    count(-1, is_zero, Fakes::WSACleanup);
}
