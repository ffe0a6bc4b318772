#include "config/record.h"
#include "support/recorded_log.h"

#include <gtest/gtest.h>

namespace {

class StartsEachTestAfresh : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override {
        RecordedLog::take();
        Config::current() = Config::Record();
    }
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    RecordedLog::start();
    testing::UnitTest::GetInstance()->listeners().Append(new StartsEachTestAfresh);
    return RUN_ALL_TESTS();
}
