#include "Zorbel/Updates.hpp"

#include <gtest/gtest.h>

#include <map>

namespace {

class RecordingUpdater : public Zorbel::UpdaterController {
public:
    bool automaticallyChecksForUpdates() const override { return true; }
    void startUpdater() override { ++starts; }
    void checkForUpdates() override { ++checks; }

    int starts = 0;
    int checks = 0;
};

Zorbel::Information information(std::map<std::string, std::string, std::less<>> values) {
    return [values = std::move(values)](std::string_view key) {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    };
}

TEST(Updates, StartsOnlyWithBothAFeedAndAKey) {
    struct Row {
        const char* name;
        std::map<std::string, std::string, std::less<>> values;
        bool starts;
    };
    const Row rows[] = {
        {"neither", {}, false},
        {"feed without key", {{"SUFeedURL", "https://example.org/feed.xml"}}, false},
        {"key without feed", {{"SUPublicEDKey", "abc"}}, false},
        {"both", {{"SUFeedURL", "https://example.org/feed.xml"}, {"SUPublicEDKey", "abc"}}, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        RecordingUpdater updater;
        Zorbel::Updates updates(information(row.values), &updater);
        EXPECT_FALSE(updates.canCheck()) << "not before it has begun";
        updates.begin();
        EXPECT_EQ(updates.canCheck(), row.starts);
        EXPECT_EQ(updater.starts, row.starts ? 1 : 0);
        updates.checkForUpdates();
        EXPECT_EQ(updater.checks, row.starts ? 1 : 0);
    }
}

TEST(Updates, WithoutAnUpdaterThereIsNothingToCheck) {
    Zorbel::Updates updates(information({{"SUFeedURL", "f"}, {"SUPublicEDKey", "k"}}), nullptr);
    updates.begin();
    EXPECT_FALSE(updates.canCheck());
}

} // namespace
