#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// The "ret" numbers of this store. README.md lists them for users. All are positive, so that none can be
/// taken for a client's own transport results (-1 to -5) or for the "nothing to return" code (-101).
enum class ret_code : int {
    ok = 0,
    not_json = 1001,          ///< the body is not JSON text
    not_an_object = 1002,     ///< the body is JSON, but no object
    bad_member = 1003,        ///< a member of the body is missing, of the wrong type or too long
    bad_polygon = 1004,       ///< "loc" is no polygon
    missing_parameter = 1005, ///< the path needs a parameter that the query lacks
    bad_parameter = 1006,     ///< a parameter's value cannot be read
    unknown_parameter = 1007, ///< the path knows no such parameter, or it was given twice
    no_such_path = 1008,      ///< HTTP 404
    wrong_method = 1009,      ///< HTTP 405
    database_failed = 1010,   ///< the database refused; the reason holds its words
    internal_error = 1011,    ///< a fault of the store itself
};

/// Why a request is not carried out: a number for programs and a sentence for people.
class refusal : public std::runtime_error {
public:
    refusal(ret_code code, const std::string& reason)
        : std::runtime_error(reason)
        , code_(code)
    {
    }
    ret_code code() const { return code_; }

private:
    ret_code code_;
};

/// Text taken from a client, cut to a readable length, for use in a reason.
std::string shortened(std::string_view text);

/// The same in double quotes.
std::string quoted(std::string_view text);
