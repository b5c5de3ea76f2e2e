// An app that reports anything, a client that asks anything.
#include "tests/hostile/invariants.h"
#include "tests/hostile/mutations.h"

namespace korvane::test {

namespace {

bool may_end_the_process(const target& each)
{
    return !each.ending.empty();
}

class hostile_request : public hostile_test, public ::testing::WithParamInterface<target> {
protected:
    use_mutation checked()
    {
        return [this](const mutation& changed) {
            check(GetParam(), changed.text, GetParam().reply, changed.what);
        };
    }
};

TEST_P(hostile_request, with_any_value_for_any_member)
{
    for_each_replacement(GetParam().request, short_values(), checked());
}

TEST_P(hostile_request, with_long_and_deep_values)
{
    for_each_replacement(GetParam().request, long_values(), [this](const mutation& changed) {
        if (GetParam().ending.count(changed.member) == 0) {
            check(GetParam(), changed.text, GetParam().reply, changed.what);
        }
    });
}

class ending_request : public hostile_request {};

TEST_P(ending_request, with_texts_that_are_too_long_ends_the_process_with_a_line)
{
    for_each_replacement(GetParam().request, some_long_values(), [this](const mutation& changed) {
        if (GetParam().ending.count(changed.member) != 0) {
            check_in_child(GetParam(), changed.text, GetParam().reply, changed.what);
        }
    });
}

TEST_P(hostile_request, with_members_missing_or_twice)
{
    for_each_rearrangement(GetParam().request, checked());
}

TEST_P(hostile_request, cut_off_at_any_byte)
{
    for_each_truncation(GetParam().request, checked());
}

TEST_P(hostile_request, that_nests_deeply_or_is_no_json)
{
    for_each_depth(GetParam().request, checked());
    for_each_nonsense(GetParam().request, checked());
}

class hostile_time : public hostile_test {};

TEST_F(hostile_time, of_which_counts_are_deleted)
{
    const target& called = targets().back();
    ASSERT_EQ(called.name, "delete_counts");
    const auto checked = [&](const mutation& changed) {
        check(called, changed.text, called.reply, changed.what);
    };
    for_each_replacement("{}", short_values(), checked);
    for_each_replacement("{}", long_values(), checked);
    for_each_truncation("-9223372036854775808", checked);
    for_each_truncation("99999999999999999999999", checked);
}

INSTANTIATE_TEST_SUITE_P(of, hostile_request, ::testing::ValuesIn(targets_that(are_asked_in_json)),
                         [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(of, ending_request, ::testing::ValuesIn(targets_that(may_end_the_process)),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace korvane::test
