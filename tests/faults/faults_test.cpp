#include "tests/faults/faults_test.h"

#include "tests/support/sanitized.h"

#include <cstdio>

#ifdef KORVANE_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

namespace korvane::test {

void faults_test::TearDown()
{
    EXPECT_GT(met_, 0U) << "nothing was broken";
    EXPECT_EQ(met_, expected_) << "faults met, and faults in the matrix";
    RecordProperty("faults", static_cast<int>(met_));
    std::printf("%s: %zu faults\n", ::testing::UnitTest::GetInstance()->current_test_info()->name(), met_);
#ifdef KORVANE_ADDRESS_SANITIZER
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << "blocks were left behind";
#endif
}

void faults_test::expect_nothing_left(const witnessed& seen, const std::string& what)
{
    EXPECT_EQ(seen.descriptors_left, 0) << "descriptors left by " << what;
    EXPECT_EQ(seen.blocks_left, 0) << "blocks left by " << what;
}

} // namespace korvane::test
