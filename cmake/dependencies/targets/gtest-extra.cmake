set_target_properties(gtest gtest_main gmock gmock_main PROPERTIES SYSTEM ON)
