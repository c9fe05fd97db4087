#include "Benchmarks/CopyQ.hpp"

#include <cstdlib>

namespace Bench {

namespace {

constexpr Nanoseconds startPatience = 30'000'000'000;
constexpr int answerPatience = 10'000; // milliseconds

} // namespace

CopyQ::CopyQ(ClipboardOwner& owner, int mostItems)
    : server_({"copyq"}) {
    const Nanoseconds deadline = now() + startPatience;
    const auto waitFor = [&](const char* what, const auto& isDone) {
        while (!isDone()) {
            if (now() > deadline) {
                fail(std::string("CopyQ does not ") + what);
            }
            pause(0.1);
        }
    };
    waitFor("start", [&] { return tryAsk({"eval", R"(print('up\\n'))"}) == "up"; });
    ask({"config", "maxitems", std::to_string(mostItems)});
    int attempt = 0;
    waitFor("keep what is copied", [&] {
        owner.copyText("attempt " + std::to_string(++attempt));
        pause(0.3);
        return count() > 0;
    });
}

int CopyQ::count() const {
    return std::atoi(ask({"eval", R"(print(size() + '\\n'))"}).c_str());
}

std::size_t CopyQ::newestLength() const {
    return std::strtoull(ask({"eval", R"(print(read(0).length + '\\n'))"}).c_str(), nullptr, 10);
}

Program CopyQ::watch() const {
    constexpr auto script = R"(var seen = -1;
while (true) {
    var count = size();
    if (count != seen) {
        seen = count;
        print(count + '\\n');
    }
    sleep(1);
})";
    return Program({"copyq", "eval", script}, server_);
}

/// The first line of the answer.
std::optional<std::string> CopyQ::tryAsk(const std::vector<std::string>& words) const {
    std::vector<std::string> command{"copyq"};
    command.insert(command.end(), words.begin(), words.end());
    Program client(command, server_);
    return client.hasLine(answerPatience) ? std::optional(client.line()) : std::nullopt;
}

std::string CopyQ::ask(const std::vector<std::string>& words) const {
    auto answer = tryAsk(words);
    if (!answer) {
        fail("CopyQ does not answer");
    }
    return *answer;
}

} // namespace Bench
