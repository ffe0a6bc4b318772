#include "support/recorded_log.h"

#include <gtest/gtest.h>

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    RecordedLog::start();
    return RUN_ALL_TESTS();
}
