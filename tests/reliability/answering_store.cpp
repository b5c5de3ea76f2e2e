#include "tests/reliability/answering_store.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace korvane::test {

namespace {

constexpr int port = 10158;
constexpr int server_threads = answering_store::most_held + 2;
constexpr std::string_view head_end = "\r\n\r\n";
constexpr std::string_view mark = "########"; // room for a time of eight digits

std::size_t body_length(std::string_view head)
{
    constexpr std::string_view name = "\r\nContent-Length: ";
    std::size_t length = 0;
    if (const std::size_t at = head.find(name); at != std::string_view::npos) {
        std::from_chars(head.data() + at + name.size(), head.data() + head.size(), length);
    }
    return length;
}

/// The digits of the request line's "start_time", none without it.
std::string_view start_time(std::string_view head)
{
    constexpr std::string_view name = "start_time=";
    const std::size_t at = head.substr(0, head.find('\r')).find(name);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::string_view digits = head.substr(at + name.size(), mark.size());
    return digits.substr(0, digits.find_first_not_of("0123456789"));
}

bool send_all(int connection, std::string_view bytes)
{
    return send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

/// Waits a moment for the other side to close first, then leaves no waiting port behind: a run makes more
/// connections than there are ports. A forked child of the caller may hold the other end a while longer.
void close_without_trace(int connection)
{
    const timeval moment{0, 50'000};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &moment, sizeof moment);
    char rest[256];
    while (recv(connection, rest, sizeof rest, 0) > 0) {
    }
    const linger at_once{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close(connection);
}

} // namespace

std::vector<answering_store::canned_reply> answering_store::canned_replies()
{
    const auto canned = [](std::string_view begin, const std::string& body) {
        const std::string bytes = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nCONTENT-LENGTH: " +
                                  std::to_string(body.size()) + "\r\n\r\n" + body;
        return canned_reply{begin, bytes, bytes.find(mark)};
    };
    const std::string rows = R"({"ret":0,"totalCounts":2,"overThreshold":1,"datas":[)"
                             R"({"timestamp":1712345678901,"description":"first ########",)"
                             R"("channel_sid":"door","confidence":87.5,"stream_id":0,"loc":)";
    const std::string second = R"(},{"timestamp":"5","channel_sid":"yard","version":"1.5"}]})";
    const std::string ring = R"({"type":"Polygon","coordinates":[[[0.5,0.25],[1,0],[0,1],[0.5,0.25]]]})";
    return {
        canned("GET /third_party/human_detect?", rows + "[[0.5,0.25],[1,0],[0,1]]" + second),
        canned("GET /third_party/model_importer?", rows + "[[0.5,0.25],[1,0],[0,1]]" + second),
        canned("GET /third_party/face_recognition?", rows + ring + second),
        canned("GET /third_party/face_group_list?",
               R"({"ret":0,"totalItems":2,"datas":["Ann ########","Iğdır"]})"),
        canned("GET /third_party/people_counting?",
               R"({"ret":0,"datas":[{"_id":{"channel_sid":"door","timestamp":1712275200000},)"
               R"("sum_in":3,"sum_out":4}]})"),
        canned("GET /third_party/device?", R"({"ret":0,"datas":[{"vault_id":"v-1","vault_name":"IVA"}]})"),
        canned("", R"({"ret":0})"),
    };
}

answering_store::answering_store(recording recorded)
    : replies_(canned_replies())
    , recording_(recorded == recording::yes)
{
    start();
}

answering_store::~answering_store()
{
    release();
    shutdown(listener_->handle(), SHUT_RDWR); // ends every accept
    for (std::thread& thread : threads_) {
        thread.join();
    }
    listener_.reset();
}

void answering_store::start()
{
    listener_.emplace(port, SOMAXCONN);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    for (int i = 0; i < server_threads; ++i) {
        threads_.emplace_back([this] { serve(); });
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

std::vector<std::string> answering_store::requests()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> sorted = requests_;
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

void answering_store::serve()
{
    for (;;) {
        const int connection = accept4(listener_->handle(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        answered_ += serve_connection(connection);
        close_without_trace(connection);
    }
}

bool answering_store::serve_connection(int connection)
{
    char buffer[32 * 1024]; // a head is shorter, however long its line
    std::size_t used = 0;
    std::size_t border = std::string_view::npos;
    while (border == std::string_view::npos) {
        const ssize_t count = recv(connection, buffer + used, sizeof buffer - used, 0);
        if (count <= 0) {
            return false;
        }
        used += static_cast<std::size_t>(count);
        border = std::string_view(buffer, used).find(head_end);
    }
    const std::string_view head(buffer, border + head_end.size());
    const std::size_t length = body_length(head);
    std::size_t have = used - head.size();
    std::string body(buffer + head.size(), recording_ ? have : 0);
    char part[16 * 1024];
    while (have < length) {
        const ssize_t count = recv(connection, part, sizeof part, 0);
        if (count <= 0) {
            return false;
        }
        have += static_cast<std::size_t>(count);
        body.append(part, recording_ ? static_cast<std::size_t>(count) : 0);
    }
    if (recording_) {
        record(head, body); // before the reply: whoever has his answer finds it recorded
    }
    if (start_time(head) == held_time) {
        hold_back();
    }
    return send_reply(connection, head);
}

void answering_store::hold_back()
{
    ++held_;
    while (!released_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    --held_;
}

bool answering_store::send_reply(int connection, std::string_view head) const
{
    const auto reply = std::find_if(replies_.begin(), replies_.end(), [head](const canned_reply& each) {
        return head.substr(0, each.begin.size()) == each.begin;
    });
    char bytes[1024];
    reply->bytes.copy(bytes, sizeof bytes);
    if (reply->mark_at != std::string::npos) {
        start_time(head).copy(bytes + reply->mark_at, mark.size());
    }
    return send_all(connection, {bytes, reply->bytes.size()});
}

void answering_store::record(std::string_view head, const std::string& body)
{
    std::string request(head.substr(0, head.find(" HTTP/1.1\r\n")));
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request + body);
}

answering_process::answering_process()
{
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0 || (process_ = fork()) < 0) {
        throw std::runtime_error(std::string("cannot start a store: ") + std::strerror(errno));
    }
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ready[0]);
        const answering_store store;
        if (write(ready[1], "", 1) != 1) {
            _exit(1);
        }
        for (;;) {
            pause();
        }
    }
    close(ready[1]);
    char byte = 0;
    const bool is_ready = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!is_ready) {
        throw std::runtime_error("the store's process did not start to listen");
    }
}

answering_process::~answering_process()
{
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

} // namespace korvane::test
