#include "tests/allocation/sweep.h"

#include "tests/allocation/witness.h"
#include "tests/support/child_process.h"
#include "tests/support/heap.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <new>
#include <stdexcept>

namespace korvane::test {

namespace {

/// What a call does when nothing fails.
struct good_run {
    int code = 0;
    std::string outcome;
    std::string untouched; ///< the outcome of a call that was never made
    long long blocks_left = 0;
    std::vector<std::string> requests;
};

class shared_witness {
public:
    shared_witness()
        : memory_(mmap(nullptr, sizeof(witness), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (memory_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
        seen_ = new (memory_) witness;
    }
    ~shared_witness() { munmap(memory_, sizeof(witness)); }
    shared_witness(const shared_witness&) = delete;
    shared_witness& operator=(const shared_witness&) = delete;

    witness& operator*() const { return *seen_; }

private:
    void* memory_;
    witness* seen_;
};

// ------------------------------------------------------------------------------------------ in the child

witness* child_witness = nullptr;

void note_failure(std::size_t /*size*/)
{
    call_stack stack;
    stack.take();
    if (child_witness->first_failure.depth == 0) {
        child_witness->first_failure = stack;
    }
    if (is_in_json_c(stack)) {
        if (child_witness->first_json_c_failure.depth == 0) {
            child_witness->first_json_c_failure = stack;
        }
        child_witness->last_json_c_failure = stack;
    }
}

extern "C" void note_crash(int signal)
{
    stop_failing_allocations();
    child_witness->signal = signal;
    child_witness->crash.take();
    _exit(1);
}

void watch_for_crashes()
{
    static char stack[64 * 1024];
    stack_t own_stack{};
    own_stack.ss_sp = stack;
    own_stack.ss_size = sizeof stack;
    sigaltstack(&own_stack, nullptr);
    struct sigaction action {};
    action.sa_handler = note_crash;
    action.sa_flags = SA_ONSTACK;
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) {
        sigaction(signal, &action, nullptr);
    }
}

void keep_outcome(const prepared_call& call)
{
    const std::string outcome = call.outcome();
    child_witness->outcome_size = outcome.size();
    if (outcome.size() > sizeof child_witness->outcome) {
        throw std::length_error("the outcome is too long to be kept");
    }
    std::memcpy(child_witness->outcome, outcome.data(), outcome.size());
}

void run_hindered(const swept_call& swept, std::size_t number, failing how)
{
    const long long before = heap_blocks_of_this_thread();
    {
        const auto call = swept.prepare();
        fail_allocations({number, how == failing::from_there_on, 0, note_failure});
        try {
            child_witness->code = call->run();
        } catch (...) {
            child_witness->threw = true;
        }
        child_witness->failures = stop_failing_allocations();
        keep_outcome(*call);
    }
    child_witness->blocks_left = heap_blocks_of_this_thread() - before;
    child_witness->returned = true;
}

void run_freely(const swept_call& swept, const good_run& good)
{
    const auto call = swept.prepare();
    const int code = call->run();
    child_witness->repeated_well = code == good.code && call->outcome() == good.outcome;
    child_witness->repeated = true;
}

// ----------------------------------------------------------------------------------------- in the parent

std::unique_ptr<scripted_store> store_for(const swept_call& swept)
{
    auto store = std::make_unique<scripted_store>();
    constexpr int enough = 12;
    for (int i = 0; i < enough; ++i) {
        store->reply_with(json_reply(swept.reply));
    }
    return store;
}

long long blocks_left_by(const swept_call& swept)
{
    const long long before = heap_blocks_of_this_thread();
    swept.prepare()->run();
    return heap_blocks_of_this_thread() - before;
}

good_run run_well(const swept_call& swept)
{
    good_run good;
    good.untouched = swept.prepare()->outcome();
    const auto store = store_for(swept);
    const auto call = swept.prepare();
    good.code = call->run();
    good.outcome = call->outcome();
    good.requests = store->requests();
    good.blocks_left = blocks_left_by(swept); // the second time: what is made once has been made
    return good;
}

/// What the first stack and the first exception need is made here, before any child needs it.
void prepare_to_watch()
{
    call_stack stack;
    stack.take();
    is_in_json_c(stack);
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
        return;
    }
}

/// Without the requests whose failure a face's report ignores: the face is stored.
std::vector<std::string> that_matter(std::vector<std::string> requests)
{
    const auto ignored = [](const std::string& request) {
        return request.rfind("POST /third_party/check_face_threshold ", 0) == 0;
    };
    requests.erase(std::remove_if(requests.begin(), requests.end(), ignored), requests.end());
    return requests;
}

bool is_beginning_of(const std::vector<std::string>& all, const std::vector<std::string>& part)
{
    return part.size() <= all.size() && std::equal(part.begin(), part.end(), all.begin());
}

class judge {
public:
    judge(const good_run& good, sweep_result& result)
        : good_(good)
        , result_(result)
    {
    }

    /// `requests`: all that the child sent.
    void look_at(const witness& seen, std::vector<std::string> requests, const std::string& when)
    {
        seen_ = &seen;
        when_ = when;
        ++result_.injected;
        if (!seen.returned) {
            look_at_crash();
            return;
        }
        if (seen.threw) {
            complain("an exception came out of it");
        }
        if (!seen.repeated_well || !drop_repeated(requests)) {
            complain(seen.repeated ? "the next call did something else than usual"
                                   : "the next call did not return");
        }
        look_at_outcome(that_matter(requests));
    }

private:
    void complain(const std::string& what)
    {
        result_.complaints.push_back(when_ + ", for " + library_of(seen_->first_failure) + ": " + what);
    }

    void blame_json_c(effect what, const call_stack& place)
    {
        ++result_.effects[what];
        ++result_.json_c_faults[{json_c_place_of(place), what}];
    }

    void look_at_crash()
    {
        const std::string where = library_of(seen_->crash);
        if (where == "libjson-c" && is_in_json_c(seen_->last_json_c_failure)) {
            blame_json_c(effect::crashed, seen_->last_json_c_failure);
        } else {
            complain("signal " + std::to_string(seen_->signal) + " in " + where);
        }
    }

    /// Takes what the repeated call sent from the end.
    bool drop_repeated(std::vector<std::string>& requests) const
    {
        if (requests.size() < good_.requests.size()) {
            return false;
        }
        const auto begin = requests.end() - static_cast<std::ptrdiff_t>(good_.requests.size());
        const bool as_usual = std::equal(begin, requests.end(), good_.requests.begin());
        requests.erase(begin, requests.end());
        return as_usual;
    }

    void look_at_outcome(const std::vector<std::string>& requests)
    {
        const std::string outcome(seen_->outcome, seen_->outcome_size);
        const std::vector<std::string> expected = that_matter(good_.requests);
        const bool whole = seen_->code == good_.code && outcome == good_.outcome && requests == expected;
        const bool says_so = seen_->code == static_cast<int>(result_bad_request) || seen_->code == -1;
        const bool refused = says_so && outcome == good_.untouched && is_beginning_of(expected, requests);
        const bool json_c_failed = seen_->first_json_c_failure.depth > 0;
        if (!whole && !refused) {
            if (json_c_failed) {
                blame_json_c(effect::silently, seen_->first_json_c_failure);
            } else {
                complain("code " + std::to_string(seen_->code) + ", outcome \"" + outcome + "\", " +
                         std::to_string(requests.size()) + " requests");
            }
        } else if (seen_->blocks_left != (whole ? good_.blocks_left : 0)) {
            if (json_c_failed) {
                blame_json_c(effect::leaked, seen_->first_json_c_failure);
            } else {
                complain(std::to_string(seen_->blocks_left) + " blocks left behind");
            }
        } else {
            ++result_.effects[whole ? effect::whole : effect::refused];
        }
    }

    const good_run& good_;
    sweep_result& result_;
    const witness* seen_ = nullptr;
    std::string when_;
};

} // namespace

sweep_result sweep(const swept_call& call, failing how)
{
    prepare_to_watch();
    sweep_result result;
    const good_run good = run_well(call);
    judge judge(good, result);
    for (std::size_t number = 1;; ++number) {
        const shared_witness shared;
        witness& seen = *shared;
        const auto store = store_for(call);
        run_in_child([&] {
            child_witness = &seen;
            watch_for_crashes();
            spoil_heap_blocks();
            run_hindered(call, number, how);
            run_freely(call, good);
            return 0;
        });
        const std::vector<std::string> requests = store->requests();
        if (seen.returned && seen.failures == 0) {
            return result;
        }
        judge.look_at(seen, requests, "allocation " + std::to_string(number));
    }
}

} // namespace korvane::test
