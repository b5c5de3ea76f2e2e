#include "store_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>

namespace {

struct child {
    pid_t process;
    int output;
    int errors;
};

child start(const std::vector<std::string>& arguments)
{
    std::array<int, 2> output{};
    std::array<int, 2> errors{};
    if (pipe2(output.data(), O_CLOEXEC) != 0 || pipe2(errors.data(), O_CLOEXEC) != 0)
        std::abort();
    const pid_t process = fork();
    if (process == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        std::vector<char*> words{const_cast<char*>(KORVANE_STORE_BINARY)};
        for (const std::string& argument : arguments)
            words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        execv(KORVANE_STORE_BINARY, words.data());
        _exit(127);
    }
    close(output[1]);
    close(errors[1]);
    return {process, output[0], errors[0]};
}

std::string read_to_end(int descriptor)
{
    std::string text;
    std::array<char, 65536> piece{};
    for (ssize_t size; (size = read(descriptor, piece.data(), piece.size())) > 0;)
        text.append(piece.data(), static_cast<std::size_t>(size));
    close(descriptor);
    return text;
}

std::string read_line(int descriptor)
{
    std::string line;
    for (char letter; read(descriptor, &letter, 1) == 1 && letter != '\n';)
        line += letter;
    return line;
}

finished_command finish(const child& one)
{
    finished_command finished{0, read_to_end(one.output), read_to_end(one.errors)};
    int status = 0;
    waitpid(one.process, &status, 0);
    finished.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return finished;
}

void send_all(int connection, const std::string& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t size = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size <= 0)
            return; // the store may answer and close before it has read a body that it refuses
        sent += static_cast<std::size_t>(size);
    }
}

http_reply receive(int connection)
{
    std::string text;
    std::size_t body_at = std::string::npos;
    std::size_t end = std::string::npos;
    std::array<char, 65536> piece{};
    while (text.size() < end) {
        const ssize_t size = recv(connection, piece.data(), piece.size(), 0);
        if (size <= 0)
            break;
        text.append(piece.data(), static_cast<std::size_t>(size));
        if (body_at != std::string::npos || (body_at = text.find("\r\n\r\n")) == std::string::npos)
            continue;
        body_at += 4;
        const std::size_t length = text.find("\r\nContent-Length: ");
        end = length >= body_at ? body_at : body_at + std::stoul(text.substr(length + 18));
    }
    return {text.substr(0, body_at), body_at == std::string::npos ? "" : text.substr(body_at)};
}

constexpr char client_headers[] = " HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n";

std::string body_of(const http_reply& reply)
{
    EXPECT_EQ("HTTP/1.1 200 OK", reply.head.substr(0, reply.head.find('\r'))) << reply.body;
    return reply.body;
}

} // namespace

finished_command run_store(const std::vector<std::string>& arguments)
{
    return finish(start(arguments));
}

store_process::store_process(std::vector<std::string> arguments)
{
    if (std::find(arguments.begin(), arguments.end(), "--port") == arguments.end())
        arguments.insert(arguments.begin(), {"--port", "0"});
    const child started = start(arguments);
    process_ = started.process;
    output_ = started.output;
    errors_ = started.errors;
    ready_line_ = read_line(output_);
    const std::size_t colon = ready_line_.rfind(':', ready_line_.find(", database"));
    if (colon == std::string::npos)
        ADD_FAILURE() << "no ready line: " << ready_line_ << stop(SIGKILL).errors;
    else
        port_ = static_cast<std::uint16_t>(std::stoul(ready_line_.substr(colon + 1)));
}

store_process::~store_process()
{
    if (process_ == -1)
        return;
    const finished_command finished = stop(SIGTERM);
    EXPECT_EQ(0, finished.status) << finished.errors;
}

int store_process::connect() const
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
    const timeval patience{20, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    return connection;
}

http_reply store_process::exchange(const std::string& bytes) const
{
    const int connection = connect();
    send_all(connection, bytes);
    http_reply reply = receive(connection);
    close(connection);
    return reply;
}

std::string store_process::get(const std::string& target) const
{
    return body_of(exchange("GET /third_party/" + target + client_headers + "\r\n"));
}

std::string store_process::remove(const std::string& target) const
{
    return body_of(exchange("DELETE /third_party/" + target + client_headers + "\r\n"));
}

std::string store_process::post(const std::string& target, const std::string& body) const
{
    return body_of(exchange("POST /third_party/" + target + client_headers +
                            "Content-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
                            "\r\n\r\n" + body));
}

finished_command store_process::stop(int signal_number)
{
    kill(process_, signal_number);
    const child one{process_, output_, errors_};
    process_ = -1;
    return finish(one);
}

std::string listing(int total, const std::vector<std::string>& rows)
{
    std::string text =
        R"({"ret":0,"totalCounts":)" + std::to_string(total) + R"(,"overThreshold":0,"datas":[)";
    for (std::size_t at = 0; at < rows.size(); ++at)
        text += (at == 0 ? "" : ",") + rows[at];
    return text + "]}";
}

int ret_of(const std::string& body)
{
    constexpr char begin[] = R"({"ret":)";
    EXPECT_EQ(0U, body.rfind(begin, 0)) << body;
    return std::atoi(body.c_str() + sizeof(begin) - 1);
}
