// A store that dies under load and comes back: what was acknowledged is kept, once, and everything else was told.
#include "tests/reliability/numbered_reports.h"
#include "tests/reliability/test_length.h"
#include "tests/store/store_process.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"

#include <korvane/ai_metadata.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace korvane::test {

namespace {

constexpr const char* database_file = "/tmp/reliability.db";
constexpr const char* reports_file = "/tmp/reliability.jsonl";
constexpr unsigned seed = 20231114;

/// A store on the library's port with a database file, ended and started again at will.
class mortal_store {
public:
    mortal_store()
    {
        for (const char* ending : {"", "-wal", "-shm"}) {
            std::filesystem::remove(std::string(database_file) + ending);
        }
        start();
    }

    void start()
    {
        process_.emplace(std::vector<std::string>{"--port", "10158", "--quiet", "--db", database_file});
    }

    void end_by(int signal_number)
    {
        const finished_command end = process_->stop(signal_number);
        EXPECT_EQ(end.status, signal_number == SIGKILL ? 128 + SIGKILL : 0) << end.errors;
        process_.reset();
    }

private:
    std::optional<store_process> process_;
};

void sleep_ms(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// What one report's call returned, and which deaths of the store it may have met: a call can come back so late that the
/// store has died once more.
struct told {
    int number;
    int code;
    int first_death; ///< counted from 1
    int last_death;  ///< before first_death: none
};

/// The first death is by SIGKILL, the second by SIGTERM, and so on.
bool may_have_met_sigkill(const told& report)
{
    return report.first_death <= report.last_death &&
           (report.first_death % 2 != 0 || report.first_death < report.last_death);
}

/// Threads that send numbered reports until they are stopped.
class senders {
public:
    senders()
    {
        for (std::vector<told>& one : told_) {
            threads_.emplace_back([this, &one] {
                while (!stopped_) {
                    const int number = next_++;
                    std::string text = numbered_report(number);
                    const int first_death = births_;
                    const int code = insert_ai_metadata(text.data());
                    one.push_back({number, code, first_death, deaths_});
                    ++(code == 0 ? stored_ : refused_);
                }
            });
        }
    }
    ~senders() { stop(); }
    senders(const senders&) = delete;
    senders& operator=(const senders&) = delete;

    void stop()
    {
        stopped_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    void store_dies() { ++deaths_; }
    void store_is_back() { ++births_; }
    int stored() const { return stored_; }
    int refused() const { return refused_; }

    /// What was told, once stopped.
    std::vector<told> all() const
    {
        std::vector<told> all;
        for (const std::vector<told>& one : told_) {
            all.insert(all.end(), one.begin(), one.end());
        }
        return all;
    }

private:
    std::atomic<bool> stopped_{false};
    std::atomic<int> next_{0};
    std::atomic<int> deaths_{0};
    std::atomic<int> births_{1};
    std::atomic<int> stored_{0};
    std::atomic<int> refused_{0};
    std::vector<told> told_[3];
    std::vector<std::thread> threads_;
};

void wait_until(const std::function<bool()>& reached)
{
    while (!reached()) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

/// How many objects of a report that was not acknowledged are stored. They are the first ones, each once.
int stored_prefix(const std::vector<int>& counts, const told& report)
{
    const auto end = std::find(counts.begin(), counts.end(), 0);
    const bool prefix = std::all_of(counts.begin(), end, [](int count) { return count == 1; }) &&
                        std::all_of(end, counts.end(), [](int count) { return count == 0; });
    EXPECT_TRUE(prefix) << "report " << report.number << ", code " << report.code << ": "
                        << ::testing::PrintToString(counts);
    return static_cast<int>(end - counts.begin());
}

class reliability_store : public sandbox_test {};

TEST_F(reliability_store, that_dies_under_the_library_keeps_what_was_acknowledged)
{
    const int deaths = by_length(8, 200);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> moment(0, 40);
    mortal_store store;
    senders sent;
    for (int death = 0; death < deaths; ++death) {
        const int stored = sent.stored();
        wait_until([&] { return sent.stored() > stored + 20; });
        sleep_ms(moment(random));
        const int refused = sent.refused();
        sent.store_dies();
        store.end_by(death % 2 == 0 ? SIGKILL : SIGTERM);
        wait_until([&] { return sent.refused() > refused; });
        store.start();
        sent.store_is_back();
    }
    sent.stop();
    store.end_by(SIGKILL);

    std::map<std::string, int> stored = stored_objects(database_file);
    int half = 0;
    int reply_lost = 0; // stored whole all the same
    for (const told& report : sent.all()) {
        const std::vector<int> counts = take_objects(stored, report.number);
        if (report.code == 0) {
            EXPECT_EQ(counts, std::vector<int>(counts.size(), 1)) << "report " << report.number;
            continue;
        }
        EXPECT_TRUE(report.code == -1 || report.code == -5) << report.code;
        const int prefix = stored_prefix(counts, report);
        half += prefix > 0 && prefix < objects_of(report.number);
        if (prefix == objects_of(report.number)) {
            ++reply_lost;
            EXPECT_TRUE(may_have_met_sigkill(report))
                << "report " << report.number << ", code " << report.code << ", deaths " << report.first_death
                << " to " << report.last_death
                << ": SIGTERM ends a store that has answered what it carried out";
        }
    }
    EXPECT_EQ(stored.size(), 0U) << "objects of no report: " << stored.begin()->first;
    std::printf(
        "%d deaths, seed %u: %d reports stored, %d refused; of those %d were stored in part, and %d whole "
        "with the reply lost\n",
        deaths, seed, sent.stored(), sent.refused(), half, reply_lost);
    EXPECT_GE(sent.stored(), 20 * deaths);
    EXPECT_GE(sent.refused(), deaths);
}

// --- korvane insert ---

std::string lines_of(const std::vector<int>& numbers)
{
    std::string text;
    for (const int number : numbers) {
        text += numbered_report(number) + "\n";
    }
    return text;
}

std::vector<int> numbers_from(int first, int count)
{
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

struct program_end {
    int status = 0;
    std::string output;
    std::set<int> refused; ///< lines of the input, from 1
    int first_unsent = 0;  ///< line; 0: all were sent
};

/// What `korvane insert` printed, read as a person reads it who wants to send the rest again.
program_end read_output(int status)
{
    program_end end;
    end.status = status;
    end.output = read_file(std::string(reports_file) + ".out");
    const std::regex refusal("^" + std::string(reports_file) +
                             R"(:(\d+): report \d+ (?:refused|not answered): )");
    const std::regex unsent(R"( reports? not sent, from )" + std::string(reports_file) + R"(:(\d+) on$)");
    std::istringstream lines(end.output);
    for (std::string line; std::getline(lines, line);) {
        std::smatch found;
        if (std::regex_search(line, found, refusal)) {
            EXPECT_TRUE(end.refused.insert(std::stoi(found[1])).second) << line;
        } else if (std::regex_search(line, found, unsent)) {
            end.first_unsent = std::stoi(found[1]);
        }
    }
    return end;
}

/// Runs `korvane insert OPTIONS` with these reports, and `meanwhile` beside it until it ends.
program_end korvane_insert(const std::vector<int>& numbers, const std::string& options,
                           const std::function<void(const std::atomic<bool>& ended)>& meanwhile)
{
    write_file(reports_file, lines_of(numbers));
    const std::string command = std::string(KORVANE_PROGRAM) + " insert " + options + " " + reports_file +
                                " >" + reports_file + ".out 2>&1";
    std::atomic<bool> ended{false};
    int status = 0;
    std::thread program([&] {
        status = std::system(command.c_str());
        ended = true;
    });
    meanwhile(ended);
    program.join();
    return read_output(WEXITSTATUS(status));
}

void wait_for_the_end(const std::atomic<bool>& ended)
{
    wait_until([&] { return ended.load(); });
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(reliability_store, that_dies_under_korvane_insert_has_the_rest_after_the_refused_ones_are_sent_again)
{
    const int count = by_length(2000, 40'000);
    const std::vector<int> numbers = numbers_from(0, count);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> moment(20, 60);
    mortal_store store;
    int deaths = 0;
    const program_end first = korvane_insert(numbers, "--keep-going", [&](const std::atomic<bool>& ended) {
        for (; sleep_ms(moment(random)), !ended; ++deaths) {
            store.end_by(deaths % 2 == 0 ? SIGKILL : SIGTERM);
            store.start();
        }
    });
    ASSERT_GE(deaths, 3) << first.output;
    ASSERT_FALSE(first.refused.empty());
    EXPECT_EQ(first.first_unsent, 0);
    EXPECT_TRUE(contains(first.output, " 0 fatal, in ")) << first.output;

    std::vector<int> again;
    for (const int line : first.refused) {
        again.push_back(numbers.at(static_cast<std::size_t>(line) - 1));
    }
    const program_end second = korvane_insert(again, "", wait_for_the_end);
    EXPECT_EQ(second.status, 0) << second.output;
    EXPECT_TRUE(second.refused.empty());
    store.end_by(SIGKILL);

    std::map<std::string, int> stored = stored_objects(database_file);
    int twice = 0;
    for (const int number : numbers) {
        std::vector<int> counts = take_objects(stored, number);
        if (first.refused.count(number + 1) == 0) {
            EXPECT_EQ(counts, std::vector<int>(counts.size(), 1)) << "report " << number;
            continue;
        }
        for (int& each : counts) {
            --each; // the second time
        }
        twice += stored_prefix(counts, {number, 0, 0, 0});
    }
    EXPECT_EQ(stored.size(), 0U);
    std::printf("%d deaths, seed %u: %d reports, %zu refused and sent again, %d objects of those were there "
                "already\n",
                deaths, seed, count, first.refused.size(), twice);
}

TEST_F(reliability_store, that_is_gone_ends_korvane_insert_which_says_where_to_go_on)
{
    const std::vector<int> numbers = numbers_from(0, 2000);
    mortal_store store;
    const program_end first = korvane_insert(numbers, "", [&](const std::atomic<bool>& ended) {
        sleep_ms(100);
        store.end_by(SIGKILL);
        wait_for_the_end(ended);
    });
    EXPECT_EQ(first.status, 3) << first.output;
    ASSERT_GE(first.refused.size(), 1U);
    const int last_refused = *first.refused.rbegin();
    EXPECT_EQ(first.first_unsent, last_refused + 1) << first.output;

    store.start();
    std::vector<int> again;
    for (const int number : numbers) {
        if (number + 1 >= first.first_unsent || first.refused.count(number + 1) > 0) {
            again.push_back(number);
        }
    }
    EXPECT_EQ(korvane_insert(again, "", wait_for_the_end).status, 0);
    store.end_by(SIGTERM);
    std::map<std::string, int> stored = stored_objects(database_file);
    for (const int number : numbers) {
        const std::vector<int> counts = take_objects(stored, number);
        if (first.refused.count(number + 1) == 0) {
            EXPECT_EQ(counts, std::vector<int>(counts.size(), 1)) << "report " << number;
        }
    }
    EXPECT_EQ(stored.size(), 0U);
}

/// The other reason for half a report: the store refuses one object. What stands before it stays, nothing behind it comes.
TEST_F(reliability_store, that_refuses_an_object_keeps_those_before_it)
{
    constexpr int human = 0;
    ASSERT_EQ(objects_of(human), 3);
    for (int bad = 0; bad < 3; ++bad) {
        mortal_store store;
        std::string text = numbered_report(human);
        const std::string label = label_of(human, bad);
        text.replace(text.find(label), label.size(), "not \\\" one text");
        EXPECT_EQ(insert_ai_metadata(text.data()), 1001);
        store.end_by(SIGKILL);
        std::map<std::string, int> stored = stored_objects(database_file);
        for (int object = 0; object < 3; ++object) {
            EXPECT_EQ(stored.count(label_of(human, object)), object < bad ? 1U : 0U);
        }
        EXPECT_EQ(stored.size(), static_cast<std::size_t>(bad));
    }
}

} // namespace

} // namespace korvane::test
