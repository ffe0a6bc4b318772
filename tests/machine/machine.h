// A Windows machine as the commands see it: healthy unless a test changes it.
#pragma once

#include "fakes/wmi.h"
#include "support/environment.h"
#include "support/event_record.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

using Lines = std::vector<std::string>;
using Facts = std::map<std::string, std::string>;
using Change = std::function<std::shared_ptr<void>()>;

inline constexpr auto tenant = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
inline const Lines set_tenant = {"set", "tenant_id", tenant};
inline const Lines create_support_bundle = {"create_support_bundle"};
inline const Lines verify_release = {"verify_release", "release.json", "developer.p7s"};

/// The facts that differ, at most ten, each as what was expected and what was got; empty if none does.
std::string difference(const Facts& expected, const Facts& got);

/// What reading the event log gives: a batch of records, or an error.
struct Read {
    DWORD error = 0;
    EventBatch batch{};
    DWORD needed = 0; // what is said of the size of a batch that the buffer does not hold; 0: the truth
};

struct ServiceState {
    DWORD state;
    DWORD wait_hint = 0;
};

struct Settings {
    // The states that the service shows in turn, the last one for ever.
    std::deque<ServiceState> service = {
        {SERVICE_RUNNING}, {SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}};
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps
    std::deque<Read> event_log;
    RTL_OSVERSIONINFOEXW version{0, 10, 0, 22631, 0, L"", 0, 0, 0, VER_NT_WORKSTATION};
    DWORD product = 7;
    std::map<std::wstring, std::variant<std::wstring, DWORD>> registry = {{L"DisplayVersion", L"23H2"},
                                                                          {L"ReleaseId", L"2009"}};
    USHORT native_machine = IMAGE_FILE_MACHINE_AMD64; // 0: there is no function to ask
    WORD processor = PROCESSOR_ARCHITECTURE_AMD64;
    std::wstring unresolvable; // host names
    DWORD interface_index = 2;
    DWORD adapters = 2;
    // Of a message with several signers, which Wine cannot read: the authority that each is taken for, and whether its
    // signature is good. And the chain that every signer has, if not the system's.
    std::vector<std::pair<std::span<const unsigned char>, bool>> signers;
    LONG counted_signers = 9;
    const CERT_CHAIN_CONTEXT* chain = nullptr;
};

/// What a command did.
struct Outcome {
    std::string end; // "status 0", or the exception that it ended with
    std::string out, err;
    Lines log;   // each line as "LEVEL FUNCTION: MESSAGE"
    Lines calls; // of the service manager and the like, in order
    Facts facts; // members of the bundle, facts of its document, the configuration and its folder
};

class Machine : public testing::Test, protected Settings {
protected:
    Machine();

    /// Makes the machine anew: files, settings and WMI.
    void restore(bool configured = true);

    /// Writes the configuration file.
    void configure(const std::string& content);

    /// Runs a command, with a change that lasts as long. Expects of every run that it leaves no handle, no COM object and
    /// no temporary file behind, and the configuration whole.
    Outcome run(const Lines& arguments, const Change& change = nullptr);

    TemporaryFolder folder;
    std::filesystem::path agent = folder.path() / L"ProgramData" / L"corvel";
    std::filesystem::path windows = folder.path() / L"Windows";
    HANDLE process = nullptr; // of PowerShell

private:
    void fake(auto& function, auto replacement) {
        replaced_.emplace_front(function, replacement);
    }
    void fake_streams();
    void fake_files();
    void fake_processes();
    void fake_event_log();
    void fake_service();
    void fake_windows();
    void fake_network();
    void fake_signatures();
    void count_handles();
    Facts facts() const;

    EnvironmentVariable profile_{L"SELF_UPDATE_PROFILE", L"\"test\""};
    EnvironmentVariable temporary_{L"TMP", folder.path().c_str()};
    EnvironmentVariable current_folder_{L"NoDefaultCurrentDirectoryInExePath", nullptr};
    std::string configuration_; // of the file; empty if there is none
    std::string streams_[3];    // what was written to each descriptor
    Lines calls_;
    DWORD service_rights_ = 0;
    int handles_ = 0;
    Fakes::Replacements replaced_;
};
