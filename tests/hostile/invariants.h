// What holds for every call, whatever it was given.
#pragma once

#include "tests/hostile/answering_store.h"
#include "tests/hostile/calls.h"
#include "tests/support/sandbox_test.h"

#include <memory>
#include <string>

namespace korvane::test {

/// What is wrong with a result; empty: nothing. The code is a known one or the reply's own "ret"; an answer is there exactly
/// when the code is 0, and is JSON; nothing is left behind but what the contract keeps.
std::string wrong_with(const call_result& result, const target& called, const std::string& request,
                       const std::string& reply);

/// Makes calls, each judged by the above, and counts them.
class hostile_test : public sandbox_test {
protected:
    void SetUp() override;

    /// Tells what was wrong with requests, prints and records how many calls there were; none is a failure.
    void TearDown() override;

    call_result check(const target& called, const std::string& request, const std::string& reply,
                      const std::string& what);

    /// The same in a child, which may also end as the interface says: with a line that tells the text that was too long.
    void check_in_child(const target& called, const std::string& request, const std::string& reply,
                        const std::string& what);

    answering_store& store() { return *store_; }

    /// For suites that make their calls themselves.
    void count_call() { ++calls_; }

private:
    std::unique_ptr<answering_store> store_;
    std::size_t calls_ = 0;
    std::size_t endless_ = 0; ///< answers with numbers that JSON lacks, to replies with such
};

} // namespace korvane::test
