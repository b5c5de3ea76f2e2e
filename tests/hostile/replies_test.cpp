// A store that answers anything: each reply of the sample taken apart and put together wrongly.
#include "tests/hostile/invariants.h"
#include "tests/hostile/mutations.h"

namespace korvane::test {

namespace {

class hostile_reply : public hostile_test, public ::testing::WithParamInterface<target> {
protected:
    use_mutation checked()
    {
        return [this](const mutation& changed) {
            check(GetParam(), GetParam().request, changed.text, changed.what);
        };
    }
};

/// Whose channels are a fixed width, by contract: a longer one ends the process.
bool is_statistics(const target& called)
{
    return called.name.rfind("query_PeopleCounting", 0) == 0;
}

TEST_P(hostile_reply, with_any_value_for_any_member)
{
    for_each_replacement(GetParam().reply, short_values(), checked());
}

TEST_P(hostile_reply, with_long_and_deep_values)
{
    const auto may_end = [](const mutation& changed) {
        return is_statistics(GetParam()) && changed.member == "channel_sid";
    };
    for_each_replacement(GetParam().reply, long_values(), [&](const mutation& changed) {
        if (!may_end(changed)) {
            check(GetParam(), GetParam().request, changed.text, changed.what);
        }
    });
    for_each_replacement(GetParam().reply, some_long_values(), [&](const mutation& changed) {
        if (may_end(changed)) {
            check_in_child(GetParam(), GetParam().request, changed.text, changed.what);
        }
    });
}

TEST_P(hostile_reply, with_members_missing_or_twice)
{
    for_each_rearrangement(GetParam().reply, checked());
}

TEST_P(hostile_reply, cut_off_at_any_byte)
{
    for_each_truncation(GetParam().reply, checked());
}

TEST_P(hostile_reply, that_nests_deeply_or_is_no_json)
{
    for_each_depth(GetParam().reply, checked());
    for_each_nonsense(GetParam().reply, checked());
}

INSTANTIATE_TEST_SUITE_P(to, hostile_reply, ::testing::ValuesIn(targets()),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace korvane::test
