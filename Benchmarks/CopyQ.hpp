#pragma once

#include "Benchmarks/ClipboardOwner.hpp"
#include "Benchmarks/Programs.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Bench {

/// CopyQ with settings and a history of its own, driven through its command line.
class CopyQ {
public:
    /// Starts it with a history of at most so many items, and returns when it has kept a copy.
    CopyQ(ClipboardOwner& owner, int mostItems);

    /// The server and those it started.
    std::vector<pid_t> processes() const { return familyOf(server_.process()); }

    /// How many items it has.
    int count() const;
    /// The bytes of the newest item's text.
    std::size_t newestLength() const;

    /// A script inside it that looks at its list every millisecond and prints a line for each change.
    Program watch() const;

private:
    std::optional<std::string> tryAsk(const std::vector<std::string>& words) const;
    std::string ask(const std::vector<std::string>& words) const;

    Program server_;
};

} // namespace Bench
