#include "Hushel/BlockedList.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace {

using namespace Hushel;
using Data = ZorbelKit::Defaults::Data;
using List = std::vector<Blocked>;

Data bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

std::string text(const Data& data) {
    return {data.begin(), data.end()};
}

TEST(BlockedList, IsAnArrayOfObjectsWithExactlyTwoKeys) {
    EXPECT_EQ(text(encoded({})), "[]");
    const auto stored = nlohmann::json::parse(encoded({{"org.example.Chat", "Chat"}, {"mail", "Post"}}));
    const nlohmann::json wanted = {{{"bundleID", "org.example.Chat"}, {"name", "Chat"}},
                                   {{"bundleID", "mail"}, {"name", "Post"}}};
    EXPECT_EQ(stored, wanted);
}

TEST(BlockedList, ComesBackAsItWas) {
    const List lists[] = {
        {},
        {{"org.example.Chat", "Chat"}},
        {{"b", "B"}, {"a", "A"}, {"b", "B"}}, // in its order, twice the same
        {{"a", "One name"}, {"a", "another"}},
        {{"", ""}},
        {{"quote\"and\\slash", "line\nend\ttab \x01"}},
        {{"wmclass:Große", "Ünïcode 家族 👩‍👩‍👧"}},
        {{std::string("a\0b", 3), std::string("\0", 1)}},
    };
    for (const List& list : lists) {
        SCOPED_TRACE(text(encoded(list)));
        EXPECT_EQ(decoded(encoded(list)), list);
    }
}

TEST(BlockedList, H11_WhatIsNoListIsNone) {
    const struct {
        const char* name;
        std::string_view stored;
    } rows[] = {
        {"nothing", ""},
        {"white space", "  \n"},
        {"no JSON", "chat, mail"},
        {"cut off", R"([{"bundleID":"a","name":"A"})"},
        {"more behind it", R"([{"bundleID":"a","name":"A"}] x)"},
        {"null", "null"},
        {"a number", "7"},
        {"an object", R"({"bundleID":"a","name":"A"})"},
        {"an array of texts", R"(["a"])"},
        {"an array of arrays", R"([["a","A"]])"},
        {"an array of nulls", "[null]"},
        {"no identifier", R"([{"name":"A"}])"},
        {"no name", R"([{"bundleID":"a"}])"},
        {"keys in another case", R"([{"bundleId":"a","Name":"A"}])"},
        {"the identifier a number", R"([{"bundleID":1,"name":"A"}])"},
        {"the name null", R"([{"bundleID":"a","name":null}])"},
        {"a good one and a bad one", R"([{"bundleID":"a","name":"A"},{"bundleID":"b"}])"},
        {"no UTF-8", "[{\"bundleID\":\"a\",\"name\":\"\xC3\x28\"}]"},
        {"an overlong slash", "[{\"bundleID\":\"a\",\"name\":\"\xC0\xAF\"}]"},
        {"half a pair", R"([{"bundleID":"a","name":"\ud83d"}])"},
        {"a number past all bounds", R"([{"bundleID":"a","name":"A","n":1e999}])"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(decoded(bytes(row.stored)), std::nullopt);
    }
}

TEST(BlockedList, H11_FurtherKeysAreFine) {
    const auto list = decoded(bytes(
        R"( [{"name":"A","since":[2026,{"a":null}],"bundleID":"a"},{"bundleID":"b","name":"B","":0}] )"));
    EXPECT_EQ(list, (List{{"a", "A"}, {"b", "B"}}));
}

TEST(BlockedList, H11_AHugeListIsReadWhole) {
    List list;
    for (int index = 0; index < 100'000; ++index) {
        list.push_back({"org.example.app" + std::to_string(index), "App " + std::to_string(index)});
    }
    EXPECT_EQ(decoded(encoded(list)), list);
}

TEST(BlockedList, H11_DeepNestingCostsNoStack) {
    constexpr int depth = 10'000;
    const std::string deep = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_EQ(decoded(bytes(deep)), std::nullopt);
    EXPECT_EQ(decoded(bytes(std::string(depth, '['))), std::nullopt);
    std::string objects;
    for (int level = 0; level < depth; ++level) {
        objects += R"({"a":)";
    }
    objects += "1" + std::string(depth, '}');
    EXPECT_EQ(decoded(bytes("[" + objects + "]")), std::nullopt);
    EXPECT_EQ(decoded(bytes(R"([{"bundleID":"a","name":"A","more":)" + deep + "}]")), (List{{"a", "A"}}));
}

TEST(BlockedList, ANameThatIsNoTextCostsNothingButItself) {
    const List list{{"a", "A"}, {"b", "B\xFF!"}, {"c", "C"}};
    EXPECT_EQ(decoded(encoded(list)), (List{{"a", "A"}, {"b", "B\xEF\xBF\xBD!"}, {"c", "C"}}));
}

} // namespace
