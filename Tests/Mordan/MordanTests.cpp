#include "Mordan/Mordan.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

using Mordan::MordanSpice;
using Mordan::Wound;
using Simulated::SimulatedHost;
using ZorbelKit::PictureType;
using ZorbelKit::Seconds;
using ZorbelKit::SharedText;
using ZorbelKit::Token;

namespace {

constexpr Seconds poll = MordanSpice::pollInterval;

struct Desk {
    SimulatedHost host;
    const int liveBefore = host.liveThings();
    MordanSpice mordan{host.loop, host.clock, host.pasteboard, host.workspace, host.language};

    void copy(const SharedText& text) {
        host.pasteboard.putText(text);
        host.loop.advance(poll);
    }

    std::optional<Wound> classify() const {
        return MordanSpice::classify(host.pasteboard, host.workspace, host.clock, host.language);
    }

    std::vector<std::string> held() const { return previews(mordan.items()); }
    std::vector<std::string> listed() const { return previews(mordan.visible()); }

    /// The entry with this preview.
    Wound entry(const std::string& preview) const {
        const auto found = std::ranges::find(mordan.items(), preview, &Wound::preview);
        EXPECT_NE(found, mordan.items().end()) << preview;
        return found == mordan.items().end() ? Wound{} : *found;
    }

private:
    static std::vector<std::string> previews(const std::vector<Wound>& wounds) {
        std::vector<std::string> texts;
        for (const Wound& wound : wounds) {
            texts.push_back(wound.preview);
        }
        return texts;
    }
};

using Texts = std::vector<std::string>;

} // namespace

TEST(Mordan, KnowsItsNames) {
    const Desk desk;
    EXPECT_EQ(desk.mordan.id(), "mordan");
    EXPECT_EQ(desk.mordan.name(), "Mordan");
    EXPECT_EQ(desk.mordan.role(), "Clipboard");
    EXPECT_EQ(desk.mordan.summary(), "Keeps what you copy, and puts any of it back.");
    EXPECT_FALSE(desk.mordan.reason().empty());
    EXPECT_EQ(desk.mordan.wave(), ZorbelKit::Wave::inTheCup);
    EXPECT_FALSE(desk.mordan.isEnabled());
    EXPECT_EQ(desk.mordan.capacity(), 500);
    EXPECT_EQ(desk.mordan.search(), "");
    EXPECT_TRUE(desk.mordan.items().empty());
}

TEST(Mordan, KindsHaveTheirStoredNames) {
    EXPECT_EQ(rawValue(Wound::Kind::text), "text");
    EXPECT_EQ(rawValue(Wound::Kind::code), "code");
    EXPECT_EQ(rawValue(Wound::Kind::url), "url");
    EXPECT_EQ(rawValue(Wound::Kind::colour), "colour");
    EXPECT_EQ(rawValue(Wound::Kind::image), "image");
    EXPECT_EQ(rawValue(Wound::Kind::file), "file");
}

TEST(Mordan, TellsTheKindOfAText) {
    using enum Wound::Kind;
    const struct {
        const char* name;
        std::string text;
        Wound::Kind kind;
    } rows[] = {
        {"three digits", "#fff", colour},
        {"six digits", "#A1B2C3", colour},
        {"white space around a colour", "  #a1b2c3 \n", colour},
        {"a wide space around a colour", "\xE3\x80\x80#abc\xC2\xA0", colour},
        {"four digits", "#abcd", text},
        {"five digits", "#abcde", text},
        {"seven digits", "#abcdef0", text},
        {"two digits", "#ab", text},
        {"no hash", "fff", text},
        {"a hash alone", "#", text},
        {"not a digit", "#ggg", text},
        {"a colour in a sentence", "use #fff here", text},
        {"two colours", "#fff\n#000", text},
        {"func", "func main", code},
        {"func without its space", "func", text},
        {"func at the end, its space trimmed", "func ", text},
        {"func inside a word", "malfunc tion", code},
        {"class", "class Wound", code},
        {"import", "import os", code},
        {"const", "const x", code},
        {"def", "def f", code},
        {"return", "return 1", code},
        {"arrow", "a => b", code},
        {"arrow without its space", "a =>b", text},
        {"call", "run();", code},
        {"call with an argument", "run(1);", text},
        {"brace and line feed", "if (x) {\n}", code},
        {"brace, carriage return and line feed", "if (x) {\r\n}", text},
        {"brace at the end, its line feed trimmed", "if (x) {\n", text},
        {"closing tag", "<b>x</b>", code},
        {"closing tag's beginning alone", "</", code},
        {"opening tag", "<b>x", text},
        {"query", "SELECT name FROM t", code},
        {"query in lower case", "select name from t", text},
        {"Func with a capital", "Func main", text},
        {"a sentence", "Tea at five?", text},
        {"several lines", "one\ntwo", text},
        {"indented lines: the first one's indent is trimmed", "    one\n    two", text},
        {"a link in words", "https://example.org/", text},
        {"nothing", "", text},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(MordanSpice::detectKind(row.text), row.kind);
    }
}

TEST(Mordan, ATextBecomesAnEntry) {
    Desk desk;
    desk.host.workspace.front = {.localizedName = "Terminal"};
    desk.host.pasteboard.putText("  Tea at five?\n");
    const auto wound = desk.classify();
    ASSERT_TRUE(wound);
    EXPECT_EQ(wound->kind, Wound::Kind::text);
    EXPECT_EQ(wound->preview, "  Tea at five?\n") << "not trimmed";
    EXPECT_EQ(wound->text, SharedText("  Tea at five?\n"));
    EXPECT_EQ(wound->woundAt, desk.host.clock.now());
    EXPECT_FALSE(wound->pinned);
    EXPECT_EQ(wound->source, "Terminal");
    const auto again = desk.classify();
    ASSERT_TRUE(again);
    EXPECT_NE(again->id, wound->id);
}

TEST(Mordan, AnEntryWithoutAProgramInFrontHasNoSource) {
    Desk desk;
    desk.host.pasteboard.putText("x");
    EXPECT_EQ(desk.classify()->source, std::nullopt);
    desk.host.workspace.front = {.localizedName = std::nullopt};
    EXPECT_EQ(desk.classify()->source, std::nullopt);
}

TEST(Mordan, APreviewIsTheFirstFourHundredCharacters) {
    Desk desk;
    for (const std::size_t length : {1U, 399U, 400U, 401U, 10'000U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'a');
        desk.host.pasteboard.putText(text);
        const auto wound = desk.classify();
        ASSERT_TRUE(wound);
        EXPECT_EQ(wound->preview, text.substr(0, 400));
        EXPECT_EQ(wound->text, SharedText(text));
    }
    std::string accents;
    for (int count = 0; count < 500; ++count) {
        accents += "é";
    }
    desk.host.pasteboard.putText(accents);
    EXPECT_EQ(desk.classify()->preview, accents.substr(0, 800)) << "characters, not bytes";
}

TEST(Mordan, APreviewStaysSmallWhateverACharacterTakes) {
    struct OneEndlessCharacter : Simulated::SimulatedLanguage {
        std::string_view prefix(std::string_view text, std::size_t) const override { return text; }
    };
    SimulatedHost host;
    host.pasteboard.putText(std::string(1 << 20, 'a'));
    const auto wound =
        MordanSpice::classify(host.pasteboard, host.workspace, host.clock, OneEndlessCharacter());
    ASSERT_TRUE(wound);
    EXPECT_EQ(wound->preview.size(), 16U << 10);
}

TEST(Mordan, BlankTextsMakeNoEntry) {
    Desk desk;
    for (const char* text : {"", " ", "\n", " \t\r\n ", "\xE2\x80\xA8", "\xC2\xA0\xE3\x80\x80"}) {
        SCOPED_TRACE(text);
        desk.host.pasteboard.putText(text);
        EXPECT_FALSE(desk.classify());
    }
    desk.host.pasteboard.put({});
    EXPECT_FALSE(desk.classify());
}

TEST(Mordan, ALinkIsItsAbsoluteString) {
    Desk desk;
    desk.host.pasteboard.putLink("https://example.org/a%20b?q=1#top");
    const auto wound = desk.classify();
    ASSERT_TRUE(wound);
    EXPECT_EQ(wound->kind, Wound::Kind::url);
    EXPECT_EQ(wound->preview, "https://example.org/a%20b?q=1#top");
    EXPECT_EQ(wound->text, SharedText("https://example.org/a%20b?q=1#top"));
}

TEST(Mordan, AFileIsItsNameAndItsPath) {
    const struct {
        const char* path;
        const char* preview;
    } rows[] = {
        {"/home/ana/Tea list.txt", "Tea list.txt"},
        {"/home/ana/Pictures/", "Pictures"},
        {"/tmp", "tmp"},
        {"/", "/"},
        {"/home/ana/100% é.txt", "100% é.txt"},
    };
    Desk desk;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        desk.host.pasteboard.putFiles({row.path});
        const auto wound = desk.classify();
        ASSERT_TRUE(wound);
        EXPECT_EQ(wound->kind, Wound::Kind::file);
        EXPECT_EQ(wound->preview, row.preview);
        EXPECT_EQ(wound->text, SharedText(row.path));
    }
}

TEST(Mordan, OfSeveralFilesOnlyTheFirstIsKept) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putFiles({"/one.txt", "/two.txt", "/three.txt"});
    desk.host.loop.advance(poll);
    EXPECT_EQ(desk.held(), Texts{"one.txt"});
}

TEST(Mordan, AUrlComesBeforeTextAndTextBeforeAPicture) {
    Desk desk;
    desk.host.pasteboard.put({.urls = {{"https://example.org", std::nullopt}},
                              .text = "words",
                              .pictures = {PictureType::tiff, PictureType::png}});
    EXPECT_EQ(desk.classify()->kind, Wound::Kind::url);
    desk.host.pasteboard.put({.urls = {}, .text = "words", .pictures = {PictureType::png}});
    EXPECT_EQ(desk.classify()->kind, Wound::Kind::text);
    desk.host.pasteboard.put({.urls = {}, .text = "  ", .pictures = {PictureType::png}});
    EXPECT_EQ(desk.classify()->kind, Wound::Kind::image) << "blank text is no text";
}

TEST(Mordan, APictureIsCalledImageAndHasNothingToPutBack) {
    Desk desk;
    for (const PictureType type : {PictureType::tiff, PictureType::png}) {
        desk.host.pasteboard.putPicture(type);
        const auto wound = desk.classify();
        ASSERT_TRUE(wound);
        EXPECT_EQ(wound->kind, Wound::Kind::image);
        EXPECT_EQ(wound->preview, "Image");
        EXPECT_EQ(wound->text, std::nullopt);
    }
}

TEST(Mordan, HoldsNothingBeforeItIsOn) {
    Desk desk;
    desk.host.pasteboard.putText("x");
    desk.host.loop.advance(Seconds{10});
    EXPECT_TRUE(desk.mordan.items().empty());
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
    EXPECT_EQ(desk.host.pasteboard.watchers(), 0);
}

TEST(Mordan, WhatIsThereWhenItIsTurnedOnIsNotKept) {
    Desk desk;
    desk.host.pasteboard.putText("before");
    desk.mordan.steep();
    EXPECT_EQ(desk.host.pasteboard.watchers(), 1);
    desk.host.loop.advance(Seconds{5});
    EXPECT_TRUE(desk.mordan.items().empty());
    desk.copy("after");
    EXPECT_EQ(desk.held(), Texts{"after"});
}

TEST(Mordan, LooksTwiceASecond) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putText("x");
    desk.host.loop.advance(Seconds{0.499});
    EXPECT_TRUE(desk.mordan.items().empty());
    desk.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(desk.held(), Texts{"x"});
    const int fired = desk.host.loop.firedTimers();
    desk.host.loop.advance(Seconds{10});
    EXPECT_EQ(desk.host.loop.firedTimers() - fired, 20);
}

TEST(Mordan, ReadsOnlyTheCountWhileNothingChanges) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("x");
    const int reads = desk.host.pasteboard.reads;
    desk.host.loop.advance(Seconds{60});
    EXPECT_EQ(desk.host.pasteboard.reads, reads);
}

TEST(Mordan, TurnedOnTwiceItRunsOneTimer) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putText("x");
    desk.mordan.steep(); // must not take the change for an old one
    EXPECT_EQ(desk.host.loop.liveTimers(), 1);
    EXPECT_EQ(desk.host.pasteboard.watchers(), 1);
    desk.host.loop.advance(poll);
    EXPECT_EQ(desk.held(), Texts{"x"});
}

TEST(Mordan, OfTwoCopiesBetweenTwoLooksItSeesTheLast) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putText("first");
    desk.host.loop.advance(Seconds{0.1});
    desk.copy("second");
    EXPECT_EQ(desk.held(), Texts{"second"});
}

TEST(Mordan, ACopyOfTheSameContentRenewsItsEntryInPlace) {
    Desk desk;
    desk.mordan.steep();
    desk.host.workspace.front = {.localizedName = "Terminal"};
    desk.copy("tea");
    desk.copy("milk");
    const Wound before = desk.entry("tea");
    desk.host.workspace.front = {.localizedName = "Editor"};
    desk.copy("tea");
    EXPECT_EQ(desk.held(), (Texts{"tea", "milk"})) << "its old place among the items";
    EXPECT_EQ(desk.listed(), (Texts{"tea", "milk"})) << "but the newest";
    Wound expected = before;
    expected.woundAt = desk.host.clock.now();
    EXPECT_EQ(desk.entry("tea"), expected) << "all else as it was";
}

TEST(Mordan, TheSameWordsOfAnotherKindAreAnotherEntry) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("https://example.org");
    desk.host.pasteboard.putLink("https://example.org");
    desk.host.loop.advance(poll);
    EXPECT_EQ(desk.mordan.items().size(), 2U);
}

TEST(Mordan, LongTextsWithTheSameBeginningCountAsOneAndTheOlderIsKept) {
    Desk desk;
    desk.mordan.steep();
    const std::string beginning(400, 'a');
    desk.copy(beginning + "older");
    desk.copy(beginning + "newer");
    ASSERT_EQ(desk.mordan.items().size(), 1U);
    EXPECT_EQ(desk.mordan.items().front().text, SharedText(beginning + "older"));
}

TEST(Mordan, AllPicturesShareOneEntry) {
    Desk desk;
    desk.mordan.steep();
    for (int count = 0; count < 3; ++count) {
        desk.host.pasteboard.putPicture(PictureType::png);
        desk.host.loop.advance(poll);
    }
    EXPECT_EQ(desk.held(), Texts{"Image"});
}

TEST(Mordan, ListsPinnedFirstThenTheNewestFirst) {
    Desk desk;
    desk.mordan.steep();
    for (const char* text : {"one", "two", "three", "four"}) {
        desk.copy(text);
    }
    desk.mordan.togglePin(desk.entry("two"));
    desk.mordan.togglePin(desk.entry("one"));
    EXPECT_EQ(desk.listed(), (Texts{"two", "one", "four", "three"}));
    EXPECT_EQ(desk.held(), (Texts{"one", "two", "three", "four"})) << "their order of copying is kept";
}

TEST(Mordan, EntriesOfOneMomentKeepTheirOrder) {
    Desk desk;
    desk.mordan.steep();
    for (const char* text : {"one", "two", "three"}) {
        desk.copy(text);
        desk.host.clock.shift(-poll); // the wall clock stands still
    }
    EXPECT_EQ(desk.listed(), (Texts{"one", "two", "three"}));
}

TEST(Mordan, ASearchLooksForTheWordsInPreviewsCaseAside) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("Masala Chai");
    desk.copy("coffee");
    desk.copy(std::string(400, 'x') + "chai");
    desk.host.pasteboard.putFiles({"/chai/list.txt"});
    desk.host.loop.advance(poll);
    desk.mordan.setSearch("CHAI");
    EXPECT_EQ(desk.listed(), Texts{"Masala Chai"}) << "neither past the preview nor in a path";
    desk.mordan.setSearch("a c");
    EXPECT_EQ(desk.listed(), Texts{"Masala Chai"});
    desk.mordan.setSearch("cocoa");
    EXPECT_EQ(desk.listed(), Texts{});
    desk.mordan.setSearch(" ");
    EXPECT_EQ(desk.listed(), Texts{"Masala Chai"}) << "white space is searched like anything else";
    desk.mordan.setSearch("");
    EXPECT_EQ(desk.listed().size(), 4U);
}

TEST(Mordan, ASearchFollowsWhatComesAndGoes) {
    Desk desk;
    desk.mordan.steep();
    desk.mordan.setSearch("tea");
    desk.copy("Green Tea");
    desk.copy("coffee");
    EXPECT_EQ(desk.listed(), Texts{"Green Tea"});
    desk.copy("Black tea");
    EXPECT_EQ(desk.listed(), (Texts{"Black tea", "Green Tea"}));
    desk.mordan.forget(desk.entry("Green Tea"));
    EXPECT_EQ(desk.listed(), Texts{"Black tea"});
}

TEST(Mordan, KeepsFiveHundredUnpinnedEntriesAndEveryPinnedOne) {
    Desk desk;
    desk.mordan.steep();
    for (int index = 0; index < 503; ++index) {
        desk.copy("entry " + std::to_string(index));
        if (index < 3) {
            desk.mordan.togglePin(desk.entry("entry " + std::to_string(index)));
        }
    }
    ASSERT_EQ(desk.mordan.items().size(), 503U);
    desk.copy("one more");
    ASSERT_EQ(desk.mordan.items().size(), 503U);
    const Texts held = desk.held();
    EXPECT_EQ(Texts(held.begin(), held.begin() + 4), (Texts{"entry 0", "entry 1", "entry 2", "entry 4"}));
    EXPECT_EQ(held.back(), "one more");
}

TEST(Mordan, TheEntryLongestNotSeenGoesFirst) {
    Desk desk;
    desk.mordan.setCapacity(2);
    desk.mordan.steep();
    desk.copy("one");
    desk.copy("two");
    desk.copy("one"); // again: now the newer of the two, at its old place
    desk.copy("three");
    EXPECT_EQ(desk.held(), (Texts{"one", "three"}));
}

TEST(Mordan, ASmallerCapacityTrimsWithTheNextEntry) {
    Desk desk;
    desk.mordan.steep();
    for (const char* text : {"one", "two", "three"}) {
        desk.copy(text);
    }
    desk.mordan.setCapacity(1);
    EXPECT_EQ(desk.mordan.items().size(), 3U);
    desk.copy("two"); // nothing new
    EXPECT_EQ(desk.mordan.items().size(), 3U);
    desk.copy("four");
    EXPECT_EQ(desk.held(), Texts{"four"});
    desk.mordan.setCapacity(0);
    desk.copy("five");
    EXPECT_EQ(desk.held(), Texts{});
    desk.mordan.setCapacity(-3);
    desk.copy("six");
    EXPECT_EQ(desk.held(), Texts{});
}

TEST(Mordan, PutsTheWholeTextBack) {
    Desk desk;
    desk.mordan.steep();
    const std::string text = "  " + std::string(10'000, 'a') + "\n";
    desk.copy(text);
    desk.copy("other");
    desk.mordan.restore(desk.mordan.items().front());
    EXPECT_EQ(desk.host.pasteboard.content().text, SharedText(text));
    EXPECT_TRUE(desk.host.pasteboard.content().urls.empty());
}

TEST(Mordan, PutsAFileBackAsItsPathAndALinkAsItsText) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putFiles({"/home/ana/list.txt"});
    desk.host.loop.advance(poll);
    desk.mordan.restore(desk.entry("list.txt"));
    EXPECT_EQ(desk.host.pasteboard.content().text, SharedText("/home/ana/list.txt"));
    EXPECT_TRUE(desk.host.pasteboard.content().urls.empty());
    desk.copy("let pass");
    desk.host.pasteboard.putLink("https://example.org");
    desk.host.loop.advance(poll);
    desk.mordan.restore(desk.entry("https://example.org"));
    EXPECT_EQ(desk.host.pasteboard.content().text, SharedText("https://example.org"));
}

TEST(Mordan, PuttingBackChangesNothingInTheList) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    desk.copy("milk");
    const auto before = desk.mordan.items();
    desk.mordan.restore(desk.entry("tea"));
    desk.host.loop.advance(Seconds{5});
    EXPECT_EQ(desk.mordan.items(), before);
}

TEST(Mordan, TheNextCopyAfterPuttingBackIsNotKeptAndTheOneAfterIs) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    desk.mordan.restore(desk.entry("tea"));
    desk.host.loop.advance(Seconds{60});
    desk.copy("let pass");
    EXPECT_EQ(desk.held(), Texts{"tea"});
    desk.copy("kept");
    EXPECT_EQ(desk.held(), (Texts{"tea", "kept"}));
}

TEST(Mordan, PuttingBackTwiceLetsOneCopyPass) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    desk.mordan.restore(desk.entry("tea"));
    desk.mordan.restore(desk.entry("tea"));
    desk.copy("let pass");
    desk.copy("kept");
    EXPECT_EQ(desk.held(), (Texts{"tea", "kept"}));
}

TEST(Mordan, ACopyLetPassMayBeOfAnythingAndTheMarkOutlivesARest) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    desk.mordan.togglePin(desk.entry("tea"));
    desk.mordan.restore(desk.entry("tea"));
    desk.mordan.rest();
    desk.mordan.steep();
    desk.host.pasteboard.put({}); // cleared by its owner
    desk.host.loop.advance(poll);
    desk.copy("kept");
    EXPECT_EQ(desk.held(), (Texts{"tea", "kept"}));
}

TEST(Mordan, PuttingAPictureBackDoesNothing) {
    Desk desk;
    desk.mordan.steep();
    desk.host.pasteboard.putPicture(PictureType::png);
    desk.host.loop.advance(poll);
    const auto count = desk.host.pasteboard.changeCount();
    desk.mordan.restore(desk.entry("Image"));
    EXPECT_EQ(desk.host.pasteboard.changeCount(), count);
    desk.copy("kept");
    EXPECT_EQ(desk.held(), (Texts{"Image", "kept"})) << "nothing was put back, so nothing is let pass";
}

TEST(Mordan, PinningTurnsOverAndForgettingRemoves) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    desk.copy("milk");
    const Wound tea = desk.entry("tea");
    desk.mordan.togglePin(tea);
    EXPECT_TRUE(desk.entry("tea").pinned);
    desk.mordan.togglePin(tea); // what is passed in says which, not what
    EXPECT_FALSE(desk.entry("tea").pinned);
    desk.mordan.forget(tea);
    EXPECT_EQ(desk.held(), Texts{"milk"});
}

TEST(Mordan, PinningOrForgettingWhatIsGoneChangesNothing) {
    Desk desk;
    desk.mordan.steep();
    desk.copy("tea");
    const Wound tea = desk.entry("tea");
    desk.mordan.forget(tea);
    desk.copy("milk");
    const auto before = desk.mordan.items();
    int changes = 0;
    const Token listening = desk.mordan.observe([&] { ++changes; });
    desk.mordan.togglePin(tea);
    desk.mordan.forget(tea);
    EXPECT_EQ(desk.mordan.items(), before);
    EXPECT_EQ(changes, 0);
    desk.copy("tea");
    EXPECT_NE(desk.entry("tea").id, tea.id) << "forgotten and copied again it is a new entry";
}

TEST(Mordan, TurnedOffItKeepsThePinnedEntriesOnlyAndHoldsNothingElse) {
    Desk desk;
    desk.mordan.steep();
    for (const char* text : {"one", "two", "three"}) {
        desk.copy(text);
    }
    desk.mordan.togglePin(desk.entry("two"));
    desk.mordan.rest();
    EXPECT_EQ(desk.held(), Texts{"two"});
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
    desk.host.pasteboard.putText("while it is off");
    desk.host.loop.advance(Seconds{5});
    desk.mordan.steep();
    desk.host.loop.advance(Seconds{5});
    EXPECT_EQ(desk.held(), Texts{"two"});
    desk.copy("kept");
    EXPECT_EQ(desk.held(), (Texts{"two", "kept"}));
}

TEST(Mordan, TellsItsReadersOfEveryRealChangeAndOfNoOther) {
    Desk desk;
    desk.mordan.steep();
    int changes = 0;
    const Token listening = desk.mordan.observe([&] { ++changes; });
    desk.copy("tea");
    EXPECT_EQ(changes, 1);
    desk.host.loop.advance(Seconds{5});
    EXPECT_EQ(changes, 1);
    desk.copy("  "); // nothing to keep
    EXPECT_EQ(changes, 1);
    desk.mordan.setSearch("t");
    desk.mordan.setSearch("t");
    EXPECT_EQ(changes, 2);
    desk.mordan.setCapacity(9);
    desk.mordan.setCapacity(9);
    EXPECT_EQ(changes, 3);
    desk.mordan.restore(desk.entry("tea"));
    EXPECT_EQ(changes, 3);
}

TEST(Mordan, AReaderMayTurnItOffWhileItIsTold) {
    Desk desk;
    desk.mordan.steep();
    const Token listening = desk.mordan.observe([&] {
        if (!desk.mordan.items().empty()) {
            desk.mordan.rest();
        }
    });
    desk.copy("tea");
    EXPECT_TRUE(desk.mordan.items().empty());
    EXPECT_EQ(desk.mordan.visible(), std::vector<Wound>{});
    EXPECT_EQ(desk.host.loop.liveTimers(), 0);
}

TEST(Mordan, ALongTextIsLookedThroughOffTheMainThreadAndKeepsItsPlace) {
    struct BusyLoop : Simulated::SimulatedMainLoop {
        void background(ZorbelKit::Priority priority, Task work) override {
            EXPECT_EQ(priority, ZorbelKit::Priority::userInitiated);
            waiting.push_back(std::move(work));
        }
        void work() {
            SimulatedMainLoop::background(ZorbelKit::Priority::userInitiated,
                                          std::exchange(waiting, {}).at(0));
            settle();
        }
        std::vector<Task> waiting;
    };
    SimulatedHost host;
    BusyLoop loop;
    MordanSpice mordan(loop, host.clock, host.pasteboard, host.workspace, host.language);
    const auto copy = [&](const SharedText& text) {
        host.pasteboard.putText(text);
        loop.advance(poll);
    };
    mordan.steep();
    const std::string text(MordanSpice::longText - 10, 'a');
    copy(text + " return 1;");
    copy("short");
    copy(std::string(MordanSpice::longText, 'b'));
    EXPECT_TRUE(mordan.items().empty());
    ASSERT_EQ(loop.waiting.size(), 1U) << "one at a time";
    loop.work();
    ASSERT_EQ(mordan.items().size(), 2U);
    EXPECT_EQ(mordan.items()[0].kind, Wound::Kind::code);
    EXPECT_EQ(mordan.items()[1].preview, "short");
    loop.work();
    ASSERT_EQ(mordan.items().size(), 3U);
    EXPECT_EQ(mordan.items()[2].kind, Wound::Kind::text);
    copy(text); // a byte less than long
    EXPECT_TRUE(loop.waiting.empty());
    EXPECT_EQ(mordan.items().size(), 4U);
}

TEST(Mordan, ALongTextStillBeingLookedThroughWhenItIsTurnedOffIsDropped) {
    Desk desk;
    desk.mordan.steep();
    const std::string text(MordanSpice::longText, 'a');
    desk.copy(text);
    desk.mordan.rest();
    desk.mordan.steep();
    desk.host.loop.advance(Seconds{5});
    EXPECT_TRUE(desk.mordan.items().empty());
    desk.copy(text);
    desk.host.loop.settle();
    EXPECT_EQ(desk.mordan.items().size(), 1U);
}

TEST(Mordan, ALongTextIsThereOnlyOnce) {
    Desk desk;
    desk.mordan.steep();
    desk.copy(std::string(MordanSpice::longText, 'a'));
    desk.host.loop.settle();
    ASSERT_EQ(desk.mordan.items().size(), 1U);
    const char* held = desk.mordan.items().front().text->view().data();
    EXPECT_EQ(held, desk.host.pasteboard.content().text->view().data());
    EXPECT_EQ(desk.mordan.visible().front().text->view().data(), held) << "not copied to be listed";
}

TEST(Mordan, MayGoWhileALongTextIsLookedThrough) {
    SimulatedHost host;
    auto mordan =
        std::make_unique<MordanSpice>(host.loop, host.clock, host.pasteboard, host.workspace, host.language);
    mordan->steep();
    host.pasteboard.putText(std::string(MordanSpice::longText, 'a'));
    host.loop.advance(poll);
    mordan.reset();
    host.loop.advance(Seconds{5});
    EXPECT_EQ(host.liveThings(), 0);
}

TEST(Mordan, HundredsOfCopiesLeaveFiveHundredEntriesWithIdsOfTheirOwn) {
    Desk desk;
    desk.mordan.steep();
    for (int index = 0; index < 700; ++index) {
        desk.copy("entry " + std::to_string(index));
    }
    std::set<ZorbelKit::Uuid> ids;
    for (const Wound& wound : desk.mordan.items()) {
        ids.insert(wound.id);
    }
    EXPECT_EQ(ids.size(), 500U);
    EXPECT_EQ(desk.held().front(), "entry 200");
}
