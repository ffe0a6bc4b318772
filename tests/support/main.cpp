#include "support/recorded_log.h"

#include <gtest/gtest.h>

namespace {

class EmptyLogForEachTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override {
        RecordedLog::take();
    }
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    RecordedLog::start();
    testing::UnitTest::GetInstance()->listeners().Append(new EmptyLogForEachTest);
    return RUN_ALL_TESTS();
}
