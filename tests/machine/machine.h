// A Windows machine as the commands see it: healthy unless a test changes it.
#pragma once

#include "fakes/wmi.h"
#include "support/event_record.h"
#include "support/unit_test.h"

#include <deque>
#include <map>
#include <span>

using Lines = std::vector<std::string>;
using Facts = std::map<std::string, std::string>;
using Change = std::function<std::shared_ptr<void>()>;

inline constexpr auto tenant = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
inline const Lines set_tenant = {"set", "tenant_id", tenant};
inline const Lines create_support_bundle = {"create_support_bundle"};
inline const Lines verify_release = {"verify_release", "release.json", "developer.p7s"};

/// The facts of a bundle's document, each as "fact NAME"; the time of the last start without its fraction of a second.
Facts facts_of(const std::string& document);

/// The facts that differ, at most ten of what was expected and ten of what was got; empty if none does.
std::string difference(const Facts& expected, const Facts& got);

/// Lets every call of a function fail.
template <typename Result, typename... Args> Change failing(Fakes::Fake<Result(Args...)>& function, std::type_identity_t<Result> result, DWORD error = ERROR_ACCESS_DENIED) {
    return [=, &function] { return Fakes::Replacement(function, [=](Args...) { return Fakes::refuse(error, result); }).end; };
}

/// What reading the event log gives: a batch of records, or an error.
struct Read {
    DWORD error = 0;
    EventBatch batch{};
    DWORD needed = 0; // what is said of the size of a batch that the buffer does not hold; 0: the truth
};

struct Settings {
    // The states that the service shows in turn, with its wait hints; the last one for ever.
    std::deque<std::pair<DWORD, DWORD>> service = {{SERVICE_RUNNING, 0}, {SERVICE_STOP_PENDING, 0}, {SERVICE_STOPPED, 0}, {SERVICE_RUNNING, 0}};
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps
    std::deque<Read> event_log;
    std::map<std::wstring, std::wstring> environment = {{L"SELF_UPDATE_PROFILE", L"\"test\""}};
    DWORD product = 7;
    USHORT native_machine = IMAGE_FILE_MACHINE_AMD64; // 0: there is no function to ask
    WORD processor = PROCESSOR_ARCHITECTURE_AMD64;
    std::wstring unresolvable; // host names
    DWORD adapters = 2;
    // Of a message with several signers, which Wine cannot read: the authority that each is taken for, and whether its
    // signature is good.
    std::vector<std::pair<std::span<const unsigned char>, bool>> signers;
    LONG counted_signers = 9;
};

/// What a command did.
struct Outcome {
    std::string end; // "status 0", or the exception that it ended with
    std::string out, err;
    Lines log;   // each line as "LEVEL FUNCTION: MESSAGE"
    Lines calls; // of the service manager and the like, in order
    Facts facts; // members of the bundle, facts of its document, the configuration
};

/// A function of the system, and a way to make one of its calls fail while counting them.
struct Failure {
    std::string function;
    std::function<std::shared_ptr<void>(int which, int& calls)> install;
    friend void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.function; }
};

/// Every function that tests let fail.
const std::vector<Failure>& failures();

/// What a command says when a call fails, given as "FUNCTION NUMBER".
struct Message {
    std::string call;
    std::string out, err;
    std::string log = ""; // a line of it
};

class Machine : public testing::Test, protected Settings {
protected:
    Machine();

    /// Makes the machine anew: files, environment, settings and WMI.
    void restore(bool configured = true);

    /// Writes the configuration file.
    void configure(const std::string& content) { put_file(agent / L"corvel.json", configuration_ = content); }

    /// Runs a command, with a change that lasts as long. Expects of every run that it leaves no handle, no COM object and
    /// no temporary file behind, and the configuration whole.
    Outcome run(const Lines& arguments, const Change& change = nullptr);

    /// Expects what a command says when a call fails, and how it ends.
    void expect_messages(const Lines& arguments, const char* end, const std::vector<Message>& messages, bool configured = true);

    TemporaryFolder folder;
    std::filesystem::path agent = folder.path / L"ProgramData" / L"corvel";
    std::filesystem::path windows = folder.path / L"Windows";

private:
    // Puts a replacement in a function's place, for which every call must have the arguments that the matcher says, and
    // notes the calls; the format has the arguments.
    template <typename Result, typename... Args>
    void fake(Fakes::Fake<Result(Args...)>& function, auto arguments, std::type_identity_t<std::function<Result(Args...)>> replacement, const std::string& format = "");
    void expects(auto& function, auto arguments) { fake(function, arguments, function); }
    void fake_files_and_processes();
    void fake_service_and_event_log();
    void fake_windows_and_network();
    void fake_signatures();
    void count_handles();
    Facts facts() const;

    std::string configuration_; // of the file; empty if there is none
    std::string streams_[3];    // what was written to each descriptor
    Lines calls_;
    HANDLE power_shell_ = nullptr;
    DWORD service_rights_ = 0;
    int handles_ = 0;
    Fakes::Replacements replaced_;
};
