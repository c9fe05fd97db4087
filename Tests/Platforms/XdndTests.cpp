#include "Platforms/Linux/Shelf/XdndTarget.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using Linux::XdndTarget;
using Message = XdndTarget::Message;

constexpr std::uint32_t fileList = 77;
constexpr std::uint32_t text = 78;
constexpr std::uint32_t source = 1000;
constexpr std::uint32_t other = 2000;
constexpr std::uint32_t version5 = 5U << 24;

/// A program that drags and a content that is dragged over, as lines of what they were told.
class Surroundings : public XdndTarget::Surroundings {
public:
    bool watch(std::uint32_t window) override {
        if (!alive.contains(window)) {
            return false;
        }
        watched.insert(window);
        return true;
    }
    void unwatch(std::uint32_t window) override { watched.erase(window); }
    std::vector<std::uint32_t> types(std::uint32_t) override { return typeList; }
    void sendStatus(std::uint32_t window, bool accepts) override {
        say("status " + std::to_string(window) + (accepts ? " yes" : " no"));
    }
    void sendFinished(std::uint32_t window, bool isAccepted) override {
        say("finished " + std::to_string(window) + (isAccepted ? " yes" : " no"));
    }
    void fetch(std::uint32_t time) override {
        isFetching = true;
        say("fetch " + std::to_string(time));
    }
    void stopFetching() override { isFetching = false; }
    bool moveOver(XdndTarget::Place place) override {
        isInside = true;
        say("over " + std::to_string(place.x) + " " + std::to_string(place.y));
        whenOver();
        return takes;
    }
    void leave() override {
        if (isInside) {
            say("leave");
        }
        isInside = false;
    }
    void drop(std::string list) override {
        isInside = false;
        say("drop " + list);
        whenDropped();
    }

    std::string told() { return std::exchange(told_, {}); }

    std::set<std::uint32_t> alive{source, other};
    std::set<std::uint32_t> watched;
    std::vector<std::uint32_t> typeList;
    std::function<void()> whenOver = [] {};
    std::function<void()> whenDropped = [] {};
    bool takes = true;
    bool isInside = false;
    bool isFetching = false;

private:
    void say(const std::string& line) { told_ += line + "\n"; }

    std::string told_;
};

Message enter(std::uint32_t window = source, std::uint32_t type = fileList) {
    return {window, version5, type, 0, 0};
}

Message position(std::uint32_t window = source, int x = 640, int y = 60) {
    const auto packed =
        static_cast<std::uint32_t>(static_cast<std::uint16_t>(x)) << 16 | static_cast<std::uint16_t>(y);
    return {window, 0, packed, 0, 0};
}

class Xdnd : public testing::Test {
protected:
    ~Xdnd() override {
        target.stop();
        EXPECT_FALSE(around.isInside);
        EXPECT_FALSE(around.isFetching);
        EXPECT_EQ(around.watched.size(), 0U);
    }

    void dropped() {
        target.takeEnter(enter());
        target.takePosition(position());
        target.takeDrop({source, 0, 12345, 0, 0});
        EXPECT_EQ(around.told(), "over 640 60\nstatus 1000 yes\nfetch 12345\n");
    }

    /// What was asked for; nobody asks for it any more.
    void arrives(const std::string& list) {
        around.isFetching = false;
        target.takeList(list);
    }

    Surroundings around;
    XdndTarget target{around, fileList};
};

TEST_F(Xdnd, FilesArriveAndTheSourceIsFreeBeforeTheContentHasThem) {
    dropped();
    arrives("file:///a\r\n");
    EXPECT_EQ(around.told(), "finished 1000 yes\ndrop file:///a\r\n\n");
}

TEST_F(Xdnd, EveryPositionIsAnswered) {
    target.takeEnter(enter());
    for (int turn = 0; turn < 3; ++turn) {
        target.takePosition(position(source, turn, -turn));
    }
    EXPECT_EQ(around.told(),
              "over 0 0\nstatus 1000 yes\nover 1 -1\nstatus 1000 yes\nover 2 -2\nstatus 1000 yes\n");
    target.takeLeave({source});
    EXPECT_EQ(around.told(), "leave\n");
}

TEST_F(Xdnd, PlacesLeftOfAndAboveTheRootAreNegative) {
    target.takeEnter(enter());
    target.takePosition(position(source, -32768, 32767));
    EXPECT_EQ(around.told(), "over -32768 32767\nstatus 1000 yes\n");
}

TEST_F(Xdnd, WhatIsNoListOfFilesIsRefusedAndNotSeen) {
    target.takeEnter(enter(source, text));
    target.takePosition(position());
    target.takeDrop({source});
    EXPECT_EQ(around.told(), "status 1000 no\nfinished 1000 no\n");
}

TEST_F(Xdnd, FilesMayComeLastInAListOfTheirOwn) {
    around.typeList.assign(39, text);
    around.typeList.push_back(fileList);
    target.takeEnter({source, version5 | 1, text, text, text});
    target.takePosition(position());
    EXPECT_EQ(around.told(), "over 640 60\nstatus 1000 yes\n");
    around.typeList.pop_back();
    target.takeEnter({source, version5 | 1, text, text, fileList});
    target.takePosition(position());
    EXPECT_EQ(around.told(), "leave\nstatus 1000 no\n") << "the list counts then";
}

TEST_F(Xdnd, TheContentMayRefuse) {
    around.takes = false;
    target.takeEnter(enter());
    target.takePosition(position());
    target.takeDrop({source});
    EXPECT_EQ(around.told(), "over 640 60\nstatus 1000 no\nfinished 1000 no\nleave\n");
}

TEST_F(Xdnd, TheLastPositionDecides) {
    target.takeEnter(enter());
    target.takePosition(position());
    around.takes = false;
    target.takePosition(position());
    around.told();
    target.takeDrop({source});
    EXPECT_EQ(around.told(), "finished 1000 no\nleave\n");
}

TEST_F(Xdnd, ADropWithoutAPositionIsRefused) {
    target.takeEnter(enter());
    target.takeDrop({source});
    EXPECT_EQ(around.told(), "finished 1000 no\n");
}

TEST_F(Xdnd, DataThatCannotBeHadEndsTheDrop) {
    dropped();
    target.takeFailure();
    EXPECT_EQ(around.told(), "finished 1000 no\nleave\n");
    target.takeList("late");
    EXPECT_EQ(around.told(), "");
}

TEST_F(Xdnd, ARepeatedDropIsFinishedOnce) {
    dropped();
    target.takeDrop({source});
    target.takeDrop({source});
    arrives("files");
    EXPECT_EQ(around.told(), "finished 1000 yes\ndrop files\n");
}

TEST_F(Xdnd, ADropOutOfTheBlueIsFinished) {
    target.takeDrop({source});
    EXPECT_EQ(around.told(), "finished 1000 no\n");
}

TEST_F(Xdnd, APositionOutOfTheBlueIsAnswered) {
    target.takePosition(position(other));
    EXPECT_EQ(around.told(), "status 2000 no\n");
    target.takeEnter(enter());
    target.takePosition(position(other));
    EXPECT_EQ(around.told(), "status 2000 no\n");
    target.takeLeave({other});
    target.takePosition(position());
    EXPECT_EQ(around.told(), "over 640 60\nstatus 1000 yes\n") << "a stranger takes nobody away";
}

TEST_F(Xdnd, ASourceThatEndsIsForgotten) {
    target.takeEnter(enter());
    target.takePosition(position());
    around.told();
    target.takeEnd(other);
    EXPECT_EQ(around.told(), "");
    target.takeEnd(source);
    EXPECT_EQ(around.told(), "leave\n");
    around.watched.clear(); // with the window
    target.takePosition(position());
    EXPECT_EQ(around.told(), "status 1000 no\n");
}

TEST_F(Xdnd, ASourceThatEndsWhileItIsAskedIsNotWaitedFor) {
    dropped();
    target.takeEnd(source);
    EXPECT_EQ(around.told(), "leave\n");
    EXPECT_FALSE(around.isFetching);
    around.watched.clear();
}

TEST_F(Xdnd, ASourceThatIsGoneAlreadyBeginsNothing) {
    around.alive.clear();
    target.takeEnter(enter());
    target.takePosition(position());
    EXPECT_EQ(around.told(), "status 1000 no\n");
}

TEST_F(Xdnd, AnotherDragEndsTheOneBefore) {
    dropped();
    target.takeEnter(enter(other));
    EXPECT_EQ(around.told(), "finished 1000 no\nleave\n");
    EXPECT_FALSE(around.isFetching);
    target.takePosition(position(other));
    target.takeDrop({other, 0, 7, 0, 0});
    arrives("others");
    EXPECT_EQ(around.told(), "over 640 60\nstatus 2000 yes\nfetch 7\nfinished 2000 yes\ndrop others\n");
}

TEST_F(Xdnd, NobodyIsNobody) {
    target.takeEnter(enter(0));
    target.takePosition(position(0));
    target.takeDrop({});
    target.takeLeave({});
    target.takeEnd(0);
    EXPECT_EQ(around.told(), "");
}

TEST_F(Xdnd, ALeaveWhileItIsAskedTakesTheDropBack) {
    dropped();
    target.takeLeave({source});
    EXPECT_EQ(around.told(), "finished 1000 no\nleave\n");
    target.takeList("late");
    EXPECT_EQ(around.told(), "");
}

TEST_F(Xdnd, AHiddenPanelEndsAllAndStillAnswers) {
    around.whenOver = [this] { target.stop(); };
    target.takeEnter(enter());
    target.takePosition(position());
    EXPECT_EQ(around.told(), "over 640 60\nleave\nstatus 1000 no\n");
    around.whenOver = [] {};
    around.whenDropped = [this] { target.stop(); };
    dropped();
    arrives("files");
    EXPECT_EQ(around.told(), "finished 1000 yes\ndrop files\n");
}

TEST_F(Xdnd, AHundredTimesOverAndOutLeavesNothing) {
    for (int turn = 0; turn < 100; ++turn) {
        target.takeEnter(enter());
        target.takePosition(position());
        target.takeLeave({source});
        ASSERT_EQ(around.told(), "over 640 60\nstatus 1000 yes\nleave\n");
        ASSERT_TRUE(around.watched.empty());
    }
}

} // namespace
