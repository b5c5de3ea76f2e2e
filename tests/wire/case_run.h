#pragma once

#include "tests/wire/case_file.h"

#include <string>
#include <vector>

namespace korvane::test {

struct case_failure {
    int line; ///< of the section that was not met
    std::string text;
};

/// Makes the case's call against a scripted store on the library's port and compares everything that came of
/// it.
std::vector<case_failure> run_case(const wire_case& wanted);

} // namespace korvane::test
