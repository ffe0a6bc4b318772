// Randomly altered inputs. scripts/fuzz sets the number of inputs per test (FUZZ_ROUNDS) and the random seed
// (FUZZ_SEED).

#include "config/record.h"
#include "crypto_win32/trust.h"
#include "files/content.h"
#include "logzipper_win32/internal/event_records.h"
#include "support/event_record.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <random>

namespace {

unsigned number(const char* variable) {
    char value[16] = "";
    GetEnvironmentVariableA(variable, value, sizeof value);
    return static_cast<unsigned>(std::strtoul(value, nullptr, 10));
}

class MutatedInputs : public testing::Test {
protected:
    std::mt19937 random{number("FUZZ_SEED")};

    // Calls `use` with copies of the bytes in which some are replaced, removed or inserted.
    template <typename Bytes, typename Use>
    void mutate(const Bytes& genuine, const Use& use) {
        ASSERT_GT(number("FUZZ_ROUNDS"), 0U);
        for (unsigned round = 0; round < number("FUZZ_ROUNDS"); ++round) {
            Bytes bytes = genuine;
            for (unsigned change = 0; change <= random() % 6; ++change) {
                const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size());
                const auto value = static_cast<typename Bytes::value_type>(random() % 3 == 0 ? 0xFF : random());
                const auto kind = random() % 8;
                if (kind == 0) {
                    bytes.erase(at);
                } else if (kind == 1) {
                    bytes.insert(at, value);
                } else {
                    *at = value;
                }
            }
            SCOPED_TRACE(round);
            use(bytes);
        }
    }
};

// The batch ends at an inaccessible page, so that reading beyond its end terminates the process.
TEST_F(MutatedInputs, event_records_are_read_without_leaving_their_batch) {
    constexpr std::size_t page = 4096;
    auto* const memory = static_cast<std::byte*>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(VirtualAlloc(memory, page, MEM_COMMIT, PAGE_READWRITE), nullptr);
    const EventBatch agent = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});
    const std::vector<std::wstring> strings(14, L"string \xD800");
    mutate(agent + event_record(L"Application Error", 1, EVENTLOG_ERROR_TYPE, strings) + agent,
           [&](const EventBatch& batch) {
               std::byte* const start = memory + page - batch.size() / 4 * 4;
               std::memcpy(start, batch.data(), batch.size() / 4 * 4);
               std::string text;
               const auto damaged = LogZipper::render_event_records({start, batch.size() / 4 * 4}, text);
               EXPECT_LE(damaged, 3U + batch.size() / sizeof(EVENTLOGRECORD));
           });
    VirtualFree(memory, 0, MEM_RELEASE);
}

TEST_F(MutatedInputs, configurations_are_refused_or_stand_for_a_record_that_is_read_as_it_was_written) {
    mutate(Config::serialise(Config::Record()), [](const std::string& text) {
        Config::Record record;
        try {
            Config::read_json(text, record);
        } catch (const nlohmann::json::exception&) {
            return;
        }
        Config::Record again;
        Config::read_json(Config::serialise(record), again);
        EXPECT_EQ(Config::serialise(again), Config::serialise(record));
    });
}

TEST_F(MutatedInputs, signatures_never_make_other_metadata_trusted) {
    const std::filesystem::path samples = SAMPLES;
    Crypto::init();
    ASSERT_TRUE(
        Crypto::verify(Files::read(samples / "release.json"), Files::read(samples / "release.p7s")).trusted_release);
    const std::string metadata = Files::read(samples / "release.json") + " ";
    mutate(Files::read(samples / "release.p7s"), [&](const std::string& signature) {
        const Crypto::VerificationTrust trust = Crypto::verify(metadata, signature);
        EXPECT_FALSE(trust.trusted_developer || trust.trusted_release || trust.trusted_by_system);
    });
}

} // namespace
