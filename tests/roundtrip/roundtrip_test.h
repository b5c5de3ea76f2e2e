// The fixture of the tests that run the library against a real store.
#pragma once

#include "tests/store/store_process.h"
#include "tests/support/sandbox_test.h"

#include <optional>
#include <string>
#include <vector>

namespace korvane::test {

/// Every test has a store of its own on the library's port, empty and in memory.
class roundtrip_test : public sandbox_test {
protected:
    void SetUp() override;

    /// Ends the store, if one runs, and starts another with these arguments more.
    void restart_store(const std::vector<std::string>& arguments = {});

    /// Ends the store; whoever asks next is not answered.
    void stop_store() { store_.reset(); }

private:
    std::optional<store_process> store_;
};

} // namespace korvane::test
