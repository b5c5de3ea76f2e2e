// Writes the wire cases as inputs of the targets: fuzz_seeds CASES_FOLDER SEEDS_FOLDER
#include "tests/support/files.h"
#include "tests/wire/case_file.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace korvane::fuzz {

namespace {

using test::wire_case;
using test::wire_exchange;

/// Cases with larger texts are about limits that smaller ones reach too.
constexpr std::size_t largest_seed = 16'384;

struct call_letter {
    std::string_view call;
    char letter;
};

constexpr call_letter query_letters[] = {
    {"query", 'q'}, {"face_groups", 'g'}, {"latest", 'l'}, {"vault", 'v'}, {"delete_counts", 'd'}};

struct path_reader {
    std::string_view path;
    const char* head;
};

// A day of hours from the midnight that the cases ask for.
constexpr path_reader readers[] = {
    {"/third_party/human_detect", "h"},
    {"/third_party/face_recognition", "f"},
    {"/third_party/face_group_list", "g"},
    {"/third_party/model_importer", "m"},
    {"/third_party/device", "v"},
    {"/third_party/people_counting", "s 3600000 1712275200000 1712361599999 0"},
};

class seed_folder {
public:
    explicit seed_folder(std::filesystem::path root)
        : root_(std::move(root))
    {
    }

    void write(const char* target, const std::string& name, const std::string& bytes)
    {
        if (bytes.size() > largest_seed) {
            return;
        }
        const std::filesystem::path folder = root_ / target;
        std::filesystem::create_directories(folder);
        std::string file = name;
        std::replace(file.begin(), file.end(), '/', '.');
        std::ofstream(folder / file, std::ios::binary) << bytes;
        ++written_;
    }

    std::size_t written() const { return written_; }

private:
    std::filesystem::path root_;
    std::size_t written_ = 0;
};

/// A reply as the memory's store takes it: the body of a good one, another as it is.
std::string answer_text(const wire_exchange& exchange)
{
    if (!exchange.reply) {
        return R"({"ret":0})";
    }
    const std::string& bytes = exchange.reply->bytes;
    const std::size_t head_end = bytes.find("\r\n\r\n");
    if (bytes.empty()) {
        return "!";
    }
    const std::string body = head_end == std::string::npos ? std::string() : bytes.substr(head_end + 4);
    return bytes == test::http_reply(200, body).bytes ? body : bytes;
}

void write_call(const wire_case& wanted, seed_folder& seeds)
{
    std::string answers;
    for (const wire_exchange& exchange : wanted.exchanges) {
        answers += '\0' + answer_text(exchange);
    }
    const std::string text = wanted.input.value_or("");
    if (std::string_view(wanted.call->name) == "insert") {
        seeds.write("insert", wanted.name, text + answers);
    }
    for (const call_letter& letter : query_letters) {
        if (letter.call == wanted.call->name) {
            seeds.write("query", wanted.name, std::string(1, letter.letter) + '\0' + text + answers);
        }
    }
}

void write_replies(const wire_case& wanted, seed_folder& seeds)
{
    for (std::size_t i = 0; i < wanted.exchanges.size(); ++i) {
        const wire_exchange& exchange = wanted.exchanges[i];
        if (!exchange.reply) {
            continue;
        }
        const std::string name = wanted.name + "." + std::to_string(i);
        // No cuts, an ordinary end, a body: what a target takes from the end when it finds zeros.
        seeds.write("transport", name, exchange.reply->bytes + std::string(12, '\0'));
        seeds.write("session", name, exchange.reply->bytes + std::string(3, '\0'));
        for (const path_reader& reader : readers) {
            if (exchange.request_line.spelled().find(reader.path) != std::string::npos) {
                seeds.write("replies", name, std::string(reader.head) + '\0' + answer_text(exchange));
            }
        }
    }
}

void write_others(seed_folder& seeds)
{
    using namespace std::string_literals;
    const std::pair<const char*, std::string> helpers[] = {
        {"url_encode", "u a/b?c=\xc3\xa9%"},
        {"abnormal", "cab,c"},
        {"blanks", "ba b  c "},
        {"quote", R"(q{"timestamp":1712345678901,"a":1})"},
        {"quote_blanks", R"(q{ "a" : 1, "timestamp" :  17 , "e f" : 1 })"},
        {"time", "tA1712345678901"},
        {"time_skipped_midnight", "te1729396800000"},
        {"coordinate", "x\x00\x00\x00\x00\x00\x00\xe0\x3fx"s},
        {"members", "jtimestamp\0{\"timestamp\":\"17\",\"x1\":0.5,\"y1\":\"0.5\",\"x3\":1,\"y3\":0}"s},
    };
    for (const auto& [name, bytes] : helpers) {
        seeds.write("helpers", name, bytes);
    }
    seeds.write("log", "line", "a message" + std::string(64, '\0'));
    seeds.write("log", "full_files", "a message" + std::string(64, '\xff'));
}

int write_all(const char* cases, const char* folder)
{
    seed_folder seeds(folder);
    for (const auto& entry : std::filesystem::directory_iterator(cases)) {
        if (entry.path().extension() != ".case") {
            continue;
        }
        for (const wire_case& wanted :
             test::parse_case_file(entry.path(), test::read_file(entry.path())).cases) {
            if (wanted.call != nullptr) {
                write_call(wanted, seeds);
                write_replies(wanted, seeds);
            }
        }
    }
    write_others(seeds);
    std::printf("%zu seeds in %s\n", seeds.written(), folder);
    return seeds.written() > 100 ? 0 : 1;
}

} // namespace

} // namespace korvane::fuzz

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s CASES_FOLDER SEEDS_FOLDER\n", argv[0]);
        return 2;
    }
    return korvane::fuzz::write_all(argv[1], argv[2]);
}
