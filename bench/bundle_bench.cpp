// Measures the parts of the support bundle and prints lines of figures for bench/support_bundle.py.
//
//   bundle_bench render SECONDS       agent, crash and skipped event records: records and megabytes a second
//   bundle_bench stream RECORDS ZIP   copies a log of RECORDS records into an archive
//   bundle_bench zip FILE ZIP         adds one file to an archive: milliseconds
//   bundle_bench parts                what the command does apart from the archive: milliseconds each

#include "fakes/imports.h"
#include "logzipper_win32/event_log.h"
#include "logzipper_win32/internal/event_records.h"
#include "logzipper_win32/update_logs.h"
#include "support/event_record.h"
#include "support/recorded_log.h"
#include "svcquery_win32/service.h"
#include "system_win32/com.h"
#include "system_win32/detectors/licenses.h"
#include "system_win32/detectors/network.h"
#include "system_win32/detectors/os_name.h"
#include "system_win32/detectors/product_type.h"
#include "zip/zip.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr std::size_t batch_size = 128000;

double milliseconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Returns as many records of one kind as fit into the read buffer. The text of an agent's record has a typical length.
EventBatch batch_of(const std::wstring& source, std::size_t string_count, std::size_t* records) {
    const std::wstring message = L"MESSAGE=Loaded configuration of the tenant\n  CODE_FILE=load.cpp  CODE_LINE=120  "
                                 L"CODE_FUNC=config_load  SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_INFO";
    const std::vector<std::wstring> strings(string_count, string_count == 2 ? message : L"application.exe");
    EventBatch batch;
    EventBatch record;
    *records = 0;
    do {
        record = event_record(source, static_cast<DWORD>(++*records), EVENTLOG_ERROR_TYPE, strings);
        batch.insert(batch.end(), record.begin(), record.end());
    } while (batch.size() + record.size() <= batch_size);
    return batch;
}

void render(double seconds) {
    const std::tuple<const char*, const wchar_t*, std::size_t> kinds[] = {
        {"agent", L"corvel", 2}, {"crash", L"Application Error", 12}, {"skipped", L"Other", 2}};
    for (const auto& [name, source, strings] : kinds) {
        std::size_t records = 0;
        const EventBatch batch = batch_of(source, strings, &records);
        std::string text;
        std::size_t batches = 0;
        const auto start = std::chrono::steady_clock::now();
        double elapsed = 0;
        do {
            text.clear();
            LogZipper::render_event_records(batch, text);
            ++batches;
            elapsed = milliseconds_since(start);
        } while (elapsed < seconds * 1000);
        const double rate = static_cast<double>(batches) / elapsed * 1000;
        std::printf("%s %.0f %.0f\n", name, rate * static_cast<double>(records),
                    rate * static_cast<double>(batch.size()) / 1e6);
    }
}

void stream(std::size_t wanted, const wchar_t* archive) {
    std::size_t records = 0;
    const EventBatch batch = batch_of(L"corvel", 2, &records);
    std::size_t left = wanted / records;
    const Fakes::Replacement open(Fakes::OpenEventLogW, [](auto...) { return reinterpret_cast<HANDLE>(1); });
    const Fakes::Replacement close(Fakes::CloseEventLog, [](auto) { return TRUE; });
    const Fakes::Replacement read(Fakes::ReadEventLogW, [&](auto, auto, auto, LPVOID buffer, auto, DWORD* count, auto) {
        SetLastError(ERROR_HANDLE_EOF);
        if (left == 0) {
            return FALSE;
        }
        --left;
        std::memcpy(buffer, batch.data(), batch.size());
        *count = static_cast<DWORD>(batch.size());
        return TRUE;
    });
    Zip::write_zip(archive, {[](Zip::Writer& writer) { return LogZipper::zip_add_corvel_syslog(writer, {"log", 0}); }});
}

template <typename Function>
void print_time(const char* name, Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    std::printf("%s %.1f\n", name, milliseconds_since(start));
}

void parts() {
    const System::WindowsIpcApartment apartment;
    print_time("system", [] { System::detect_os_name(); });
    print_time("WMI", [] {
        System::detect_windows_product_type();
        System::get_windows_license_edition();
        System::get_windows_licenses();
    });
    print_time("network", [] { System::detect_ip_address(System::SocketLibrary(), "https://app.corvel.example"); });
    print_time("service", [] { static_cast<void>(Service::query_corvel_service_status()); });
    print_time("PowerShell", [] { LogZipper::zip_generate_os_update_logs(); });
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    RecordedLog::start();
    const std::wstring mode = count > 1 ? arguments[1] : L"";
    if (mode == L"render") {
        render(wcstod(arguments[2], nullptr));
    } else if (mode == L"stream") {
        stream(wcstoul(arguments[2], nullptr, 10), arguments[3]);
    } else if (mode == L"zip") {
        print_time("zip", [&] {
            Zip::write_zip(arguments[3],
                           {[&](Zip::Writer& writer) { return Zip::zip_add_file(writer, arguments[2], "log"); }});
        });
    } else {
        parts();
    }
    return 0;
}
