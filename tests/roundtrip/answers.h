// Answers of a query taken apart.
#pragma once

#include <json-c/json.h>

#include <memory>
#include <string>
#include <vector>

namespace korvane::test {

/// The answer to a query, which must succeed.
class answered {
public:
    /// Asks for {"metadata": {`filters`}}; "function_name" is one of the filters.
    explicit answered(const std::string& filters);

    int count() const;

    /// The text of a member of each element of "metadatalist", in order; "-" where an element lacks it.
    std::vector<std::string> each(const char* member) const;

    /// The elements of "metadatalist" as json-c writes them.
    std::vector<std::string> rows() const;

private:
    std::unique_ptr<json_object, int (*)(json_object*)> answer_;
};

} // namespace korvane::test
