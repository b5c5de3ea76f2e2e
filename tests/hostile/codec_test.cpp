// Records read from hostile replies: every text ends within its field, and a member changes no other one's field.
#include "codec/face.h"
#include "codec/human.h"
#include "codec/model.h"
#include "codec/vault.h"
#include "tests/hostile/mutations.h"
#include "tests/support/record_texts.h"
#include "tests/support/sample_calls.h"

#include <gtest/gtest.h>

#include <map>

namespace korvane::test {

namespace {

using fields = std::map<std::string, std::string>;

template <class Record>
std::vector<fields> fields_of(const std::vector<Record>& records)
{
    std::vector<fields> all;
    for (const Record& record : records) {
        fields& texts = all.emplace_back();
        for_each_field(record, [&texts](std::string_view name, const auto& field) {
            texts[std::string(name)] = field_text(field);
        });
    }
    return all;
}

template <class Record, int (*decode)(std::string, std::vector<Record>&, int&, long long&, int&)>
std::vector<fields> read(const std::string& reply)
{
    std::vector<Record> records;
    int ret = 0;
    long long total = 0;
    int over = 0;
    EXPECT_EQ(decode(reply, records, ret, total, over), 0);
    return fields_of(records);
}

std::vector<fields> read_groups(const std::string& reply)
{
    std::vector<face_recognition_metadata_information> records;
    int ret = 0;
    long long total = 0;
    EXPECT_EQ(trans_string_to_face_group_list_metadata_info(reply, records, ret, total), 0);
    return fields_of(records);
}

std::vector<fields> read_vaults(const std::string& reply)
{
    std::vector<vault_information> vaults;
    int ret = 0;
    EXPECT_EQ(trans_string_to_vault_info(reply, vaults, ret), 0);
    return fields_of(vaults);
}

struct decoder {
    const char* name;
    std::string reply;
    std::vector<fields> (*read)(const std::string& reply);
};

std::vector<decoder> decoders()
{
    return {
        {"human", sample_human_reply(),
         read<human_detection_metadata_information, trans_string_to_human_metadata_info>},
        {"face", sample_face_reply(),
         read<face_recognition_metadata_information, trans_string_to_face_metadata_info>},
        {"model", sample_model_reply(),
         read<model_importer_metadata_information, trans_string_to_model_metadata_info>},
        {"groups", sample_groups_reply(), read_groups},
        {"vaults", sample_vaults_reply(), read_vaults},
    };
}

/// The field that a member of the first row fills.
std::string field_of(const mutation& changed)
{
    if (changed.what.rfind("/datas/0 ", 0) == 0) {
        return "person_name"; // a list of names, which have no members
    }
    if (changed.what.rfind("/datas/0/loc", 0) == 0) {
        return "positions";
    }
    return changed.member == "status" ? "last_recv_time_str" : changed.member;
}

class hostile_record : public ::testing::TestWithParam<decoder> {
protected:
    void check(const mutation& changed)
    {
        ++replies_;
        const std::vector<fields> records = GetParam().read(changed.text);
        for (const fields& record : records) {
            for (const auto& [name, text] : record) {
                EXPECT_EQ(text.find("(unterminated)"), std::string::npos) << name << ": " << changed.what;
            }
        }
        if (changed.what.rfind("/datas/0", 0) == 0 && records.size() == good_.size() && !records.empty()) {
            ++compared_;
            for (const auto& [name, text] : good_.front()) {
                if (name != field_of(changed)) {
                    EXPECT_EQ(records.front().at(name), text) << name << ": " << changed.what;
                }
            }
        }
    }

    std::vector<fields> good_ = GetParam().read(GetParam().reply);
    std::size_t replies_ = 0;
    std::size_t compared_ = 0; ///< with the sample's record
};

/// True for a value that is a whole row: all its fields change.
bool is_a_row(const mutation& changed)
{
    return changed.what.rfind("/datas/0 ", 0) == 0;
}

TEST_P(hostile_record, keeps_each_text_within_its_field)
{
    const bool list_of_names = std::string(GetParam().name) == "groups";
    const auto use = [this, list_of_names](const mutation& changed) {
        if (list_of_names || !is_a_row(changed)) {
            check(changed);
        }
    };
    ASSERT_FALSE(good_.empty());
    for_each_replacement(GetParam().reply, short_values(), use);
    for_each_replacement(GetParam().reply, long_values(), use);
    std::vector<std::string> around_the_widths;
    for (const std::size_t width : {16U, 24U, 32U, 33U, 64U, 128U, 256U, 512U}) {
        for (const std::size_t length : {width - 2, width - 1, width, width + 1}) {
            around_the_widths.push_back('"' + std::string(length, 'x') + '"');
            around_the_widths.push_back('"' + std::string(length - 2, 'x') + "\xe2\x82\xac\"");
        }
    }
    for_each_replacement(GetParam().reply, around_the_widths, use);
    EXPECT_GT(compared_, 0U);
    RecordProperty("replies", static_cast<int>(replies_));
    RecordProperty("compared", static_cast<int>(compared_));
}

INSTANTIATE_TEST_SUITE_P(of, hostile_record, ::testing::ValuesIn(decoders()),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

} // namespace korvane::test
