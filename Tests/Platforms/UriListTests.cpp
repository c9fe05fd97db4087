#include "Platforms/Linux/Clipboard/UriList.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using Linux::urlsInCopiedFiles;
using Linux::urlsInList;
using ZorbelKit::PasteboardUrl;

namespace {

using Urls = std::vector<PasteboardUrl>;

std::string bytes(std::string_view text) {
    return std::string(text);
}

} // namespace

TEST(UriList, FilesHaveAPath) {
    struct Row {
        const char* name;
        std::string line;
        std::optional<std::string> path; // none: the line is left out
    };
    const Row rows[] = {
        {"without a host", "file:///home/ada/notes.txt", "/home/ada/notes.txt"},
        {"with a host", "file://host/share/notes.txt", "/share/notes.txt"},
        {"without an authority", "file:/notes.txt", "/notes.txt"},
        {"scheme in capitals", "FILE:///notes.txt", "/notes.txt"},
        {"a space", "file:///a%20b", "/a b"},
        {"a space that was not escaped", "file:///a b", "/a b"},
        {"a percent sign", "file:///100%25", "/100%"},
        {"beyond ASCII", "file:///%C3%A9t%c3%a9", "/été"},
        {"beyond ASCII and not escaped", "file:///été", "/été"},
        {"an escape that is none", "file:///a%zzb", "/a%zzb"},
        {"an escape cut off", "file:///a%4", "/a%4"},
        {"an escape cut off at once", "file:///a%", "/a%"},
        {"escaped only once", "file:///a%2541", "/a%41"},
        {"not UTF-8", "file:///a%FFb", "/a\uFFFDb"},
        {"a folder", "file:///home/ada/", "/home/ada"},
        {"a folder with slashes", "file:///home/ada///", "/home/ada"},
        {"the root", "file:///", "/"},
        {"the root of a host", "file://host/", "/"},
        {"a hash sign and a question mark", "file:///c%23?", "/c#?"},
        {"an escaped slash", "file:///a%2Fb", "/a/b"},
        {"a NUL", "file:///a%00b", std::nullopt},
        {"no path", "file://host", std::nullopt},
        {"nothing at all", "file:", std::nullopt},
        {"two slashes", "file://", std::nullopt},
        {"a relative path", "file:notes.txt", std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Urls expected = row.path ? Urls{{row.line, row.path}} : Urls{};
        EXPECT_EQ(urlsInList(row.line), expected);
        EXPECT_EQ(urlsInList(row.line + "\r\n"), expected);
        EXPECT_EQ(urlsInCopiedFiles("copy\n" + row.line), expected);
    }
}

TEST(UriList, OtherUrlsHaveNone) {
    struct Row {
        const char* name;
        std::string line;
        bool isUrl;
    };
    const Row rows[] = {
        {"a web page", "https://example.org/?q=a%20b#c", true},
        {"a mail address", "mailto:ada@example.org", true},
        {"all that a scheme may hold", "x-a.b+9:c", true},
        {"beyond ASCII", "https://example.org/é", true},
        {"almost a file", "files:///a", true},
        {"a path", "/home/ada", false},
        {"a scheme alone", "https:", false},
        {"no scheme", "://example.org", false},
        {"a digit first", "9p://host", false},
        {"a wrong letter in the scheme", "ht_tp://host", false},
        {"white space", "https://example.org/a b", false},
        {"wide white space", "https://example.org/a\u3000b", false},
        {"white space before", " https://example.org", false},
        {"a comment", "#https://example.org", false},
        {"a NUL", bytes({"https://a\0b", 11}), false},
        {"an empty line", "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(urlsInList(row.line), row.isUrl ? (Urls{{row.line, std::nullopt}}) : Urls{});
    }
}

TEST(UriList, WhatIsNotUtf8IsRepaired) {
    EXPECT_EQ(urlsInList("https://example.org/\xFF"), (Urls{{"https://example.org/\uFFFD", std::nullopt}}));
    EXPECT_EQ(urlsInList("file:///\xFF"), (Urls{{"file:///\uFFFD", "/\uFFFD"}}));
}

TEST(UriList, LinesEndAsTheyLike) {
    const Urls expected{{"file:///a", "/a"}, {"https://b.org", std::nullopt}, {"file:///c", "/c"}};
    for (const std::string& list :
         {bytes("file:///a\r\nhttps://b.org\r\nfile:///c\r\n"), bytes("file:///a\nhttps://b.org\nfile:///c"),
          bytes("# two\r\nfile:///a\n\n\r\nhttps://b.org\n#\nno url\r\nfile:///c"),
          bytes({"file:///a\nhttps://b.org\nfile:///c\0", 35}),
          bytes({"file:///a\nhttps://b.org\nfile:///c\n\0\0", 37})}) {
        EXPECT_EQ(urlsInList(list), expected) << list;
    }
    EXPECT_EQ(urlsInList(""), Urls{});
    EXPECT_EQ(urlsInList("\r\n\n"), Urls{});
    EXPECT_EQ(urlsInList(bytes({"\0", 1})), Urls{});
}

TEST(UriList, WhatIsToBeDoneWithTheFilesIsNoFile) {
    const Urls expected{{"file:///a", "/a"}, {"file:///b", "/b"}};
    EXPECT_EQ(urlsInCopiedFiles("copy\nfile:///a\nfile:///b"), expected);
    EXPECT_EQ(urlsInCopiedFiles("cut\nfile:///a\nfile:///b\n"), expected);
    EXPECT_EQ(urlsInCopiedFiles("file:///a\nfile:///b"), expected);
    EXPECT_EQ(urlsInCopiedFiles("cut"), Urls{});
    EXPECT_EQ(urlsInCopiedFiles(""), Urls{});
}
