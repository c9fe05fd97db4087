#pragma once

#include "Fotrel/CaptureTool.hpp"
#include "Fotrel/TextRecogniser.hpp"
#include "ZorbelKit/Host/Panels.hpp"
#include "ZorbelKit/Host/Pictures.hpp"
#include "ZorbelKit/Host/Processes.hpp"
#include "ZorbelKit/Host/SavePanel.hpp"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Simulated {

/// Programs that end when a test says so.
class SimulatedProcesses : public ZorbelKit::Processes {
public:
    struct Started {
        std::filesystem::path executable;
        std::vector<std::string> arguments;
        std::function<void(int status)> ended;
    };

    std::optional<std::string> start(const std::filesystem::path& executable,
                                     const std::vector<std::string>& arguments,
                                     std::function<void(int status)> ended) override {
        if (!refusal) {
            started.push_back({executable, arguments, std::move(ended)});
        }
        return refusal;
    }

    std::optional<std::string> refusal; // of the next starts
    std::vector<Started> started;
};

/// Files that hold pictures, and what is done to them.
class SimulatedPictures : public ZorbelKit::Pictures {
public:
    static ZorbelKit::Picture picture(int width, int height, bool isCompact = true) {
        return ZorbelKit::Picture(
            {.width = width, .height = height, .png = "PNG", .preview = {}, .isCompact = isCompact});
    }

    std::optional<ZorbelKit::Picture> read(const std::filesystem::path& file) const override {
        const auto found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
    }
    ZorbelKit::Picture compacted(const ZorbelKit::Picture& image) const override {
        return image.isCompact() ? image : picture(image.width(), image.height());
    }
    ZorbelKit::Picture blank(int width, int height) const override { return picture(width, height); }
    bool write(const ZorbelKit::Picture& image, const std::filesystem::path& file) const override {
        if (!unwritable.contains(file)) {
            files[file] = image;
        }
        return !unwritable.contains(file);
    }
    std::filesystem::path temporaryFile(const std::string& name) const override { return "/tmp/" + name; }
    void remove(const std::filesystem::path& file) const override {
        files.erase(file);
        removed.push_back(file);
    }

    // Changed by what is const for the suite: it is the disk.
    mutable std::map<std::filesystem::path, ZorbelKit::Picture> files;
    mutable std::vector<std::filesystem::path> removed;
    std::set<std::filesystem::path> unwritable;
};

/// A panel that a test answers.
class SimulatedSavePanel : public ZorbelKit::SavePanel {
public:
    void open(const std::string& suggestedName,
              std::function<void(std::filesystem::path file)> chosen) override {
        suggestions.push_back(suggestedName);
        chosen_ = std::move(chosen);
    }

    void confirm(const std::filesystem::path& file) { std::exchange(chosen_, nullptr)(file); }

    std::vector<std::string> suggestions;

private:
    std::function<void(std::filesystem::path file)> chosen_;
};

/// Panels that are gone when a test says so, where one is open.
class SimulatedPanels : public ZorbelKit::Panels {
public:
    void putAway(std::function<void()> gone) override {
        if (isOpen) {
            gone_.push_back(std::move(gone));
        } else {
            gone();
        }
    }

    void close() {
        isOpen = false;
        for (const auto& gone : std::exchange(gone_, {})) {
            gone();
        }
    }

    bool isOpen = false;

private:
    std::vector<std::function<void()>> gone_;
};

/// A reader that knows what a test tells it, when the test does.
class SimulatedTextRecogniser : public Fotrel::TextRecogniser {
public:
    struct Reading {
        ZorbelKit::Picture picture;
        ZorbelKit::Priority priority;
        std::function<void(Lines lines)> done;
    };

    void recognise(const ZorbelKit::Picture& picture, ZorbelKit::Priority priority,
                   std::function<void(Lines lines)> done) override {
        readings.push_back({picture, priority, std::move(done)});
    }
    ZorbelKit::Token keepWarm() override {
        ++*warm_;
        return ZorbelKit::Token([warm = warm_] { --*warm; });
    }

    int keepers() const { return *warm_; }

    std::vector<Reading> readings; // in the order they were asked for

private:
    std::shared_ptr<int> warm_ = std::make_shared<int>(0);
};

/// The arguments tell the kinds apart.
inline Fotrel::CaptureTool simulatedCaptureTool() {
    return {.executable = "/bin/capture",
            .region = {"--region"},
            .window = {"--window", "--plain"},
            .screen = {"--screen"}};
}

} // namespace Simulated
