#pragma once

#include "ZorbelKit/Host/FileManager.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace Simulated {

/// A Trash that tests look into. Moves are finished when the test says so.
class SimulatedFileManager : public ZorbelKit::FileManager {
public:
    void recycle(std::vector<std::filesystem::path> paths,
                 std::function<void(std::vector<std::filesystem::path> moved)> done) override {
        pending_.push_back({std::move(paths), std::move(done)});
    }

    void activateFileViewerSelecting(std::vector<std::filesystem::path> paths) override {
        revealed.push_back(std::move(paths));
    }

    /// Moves all that can be moved and says so, on the thread of the caller.
    void finish() {
        for (Move& move : std::exchange(pending_, {})) {
            std::erase_if(move.paths, [this](const auto& path) { return immovable.contains(path); });
            recycled.insert(recycled.end(), move.paths.begin(), move.paths.end());
            move.done(std::move(move.paths));
        }
    }
    int moves() const { return static_cast<int>(pending_.size()); } // not yet finished

    std::set<std::filesystem::path> immovable;
    std::vector<std::filesystem::path> recycled;
    std::vector<std::vector<std::filesystem::path>> revealed;

private:
    struct Move {
        std::vector<std::filesystem::path> paths;
        std::function<void(std::vector<std::filesystem::path>)> done;
    };
    std::vector<Move> pending_;
};

} // namespace Simulated
