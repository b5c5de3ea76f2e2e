#include "tests/roundtrip/roundtrip_test.h"

namespace korvane::test {

void roundtrip_test::SetUp()
{
    sandbox_test::SetUp();
    if (!HasFatalFailure()) {
        restart_store();
    }
}

void roundtrip_test::restart_store(const std::vector<std::string>& arguments)
{
    std::vector<std::string> all{"--port", "10158", "--quiet"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    store_.reset();
    store_.emplace(all);
}

} // namespace korvane::test
