#include "Platforms/Linux/Storage/Identifiers.hpp"

#include "Platforms/Linux/AsciiCase.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Linux {

namespace {

// They begin nothing else.
constexpr std::string_view unmistakable = " com org ";

// Top-level labels that identifiers begin with, but other names too.
constexpr std::string_view everyday =
    " io net academy agency ai app art audio best biz blog build cafe camp cat chat city click cloud club "
    "codes "
    "community company computer cool dance desi design dev digital directory earth edu email energy engineer "
    "engineering expert family fans farm finance fit fm foundation fun fund fyi games garden gay global gov "
    "graphics group guide guru hockey house how info ink institute international land lat law lgbt life "
    "limited link live lol love ltd management market media mobi moe money name network news ngo ninja one "
    "online ooo page party photo photography photos pics pictures pizza place plus pro productions pub "
    "report rest review rip rocks run school science services show site social software solutions space "
    "store studio style support systems tech technology tips today tools top tube video vision wiki win "
    "works world wtf xyz zone ";

constexpr std::string_view countries =
    " ac ad ae af ag ai al am ao aq ar as at au aw ax az ba bb bd be bf bg bh bi bj bm bn bo br bs bt bw by "
    "bz "
    "ca cc cd cf cg ch ci ck cl cm cn co cr cu cv cw cx cy cz de dj dk dm do dz ec ee eg er es et eu fi fj "
    "fk "
    "fm fo fr ga gd ge gf gg gh gi gl gm gn gp gq gr gs gt gu gw gy hk hm hn hr ht hu id ie il im in io iq "
    "ir "
    "is it je jm jo jp ke kg kh ki km kn kp kr kw ky kz la lb lc li lk lr ls lt lu lv ly ma mc md me mg mh "
    "mk "
    "ml mm mn mo mp mq mr ms mt mu mv mw mx my mz na nc ne nf ng ni nl no np nr nu nz om pa pe pf pg ph pk "
    "pl "
    "pm pn pr ps pt pw py qa re ro rs ru rw sa sb sc sd se sg sh si sk sl sm sn so sr ss st su sv sx sy sz "
    "tc "
    "td tf tg th tj tk tl tm tn to tr tt tv tw tz ua ug uk us uy uz va vc ve vg vi vn vu wf ws ye yt za zm "
    "zw ";

constexpr std::string_view fileSuffixes =
    " 7z appimage backup bak bat bin bz2 cfg conf config copy cpp crdownload css csv d db db3 deb desktop "
    "dir "
    "disabled dll doc download exe gz html img ini ini~ iso jar js json jsonc kdbx lnk local lock log md new "
    "old orig pdf pid png py rar rc rpm run save saved service sh so sock socket sqlite sqlite3 sql svg swp "
    "tar tgz theme tmp temp toml txt xml xz yaml yml zip zst ";

constexpr std::string_view copyMarks = " backup bak bck copy old orig original save saved tmp temp ";

// What follows the name of a program that is packed for people to take along, or in one of several forms.
constexpr std::string_view addenda = " aarch64 alpha amd64 app appimage arm64 armhf armv7l beta bin canary "
                                     "client cli desktop dev electron git "
                                     "glibc gnu gtk gtk3 gtk4 gui i386 i686 latest launcher linux linux64 "
                                     "musl native nightly ose portable qt qt5 "
                                     "qt6 rc release setup snapshot stable standalone ubuntu unstable "
                                     "wayland wrapper x11 x64 x86 x86_64 64bit ";

constexpr std::string_view genericLabels =
    " agent app application beta bin canary cli client core daemon desktop dev devel game gui helper "
    "installer "
    "launcher lib linux main native nightly platform plugin program service shared stable updater utils web ";

// Where anybody keeps programs.
constexpr std::string_view hosts =
    " app.drey app.netlify app.vercel app.web cn.gitee com.bitbucket com.blogspot com.codeberg com.gitee "
    "com.github com.gitlab com.herokuapp com.sourceforge com.wordpress dev.pages io.bitbucket io.frama "
    "io.gitee "
    "io.github io.gitlab io.itch io.sourceforge net.launchpad net.sourceforge org.bitbucket org.codeberg "
    "org.gitlab org.sourceforge page.codeberg sh.sr ";

// By the desktops, and by programs that belong together.
constexpr std::array desktops{"com.canonical.", "com.endlessm.",      "com.system76.", "com.ubuntu.",
                              "io.elementary.", "io.snapcraft.",      "org.a11y.",     "org.ayatana.",
                              "org.bluez.",     "org.cinnamon.",      "org.cups.",     "org.deepin.",
                              "org.fcitx.",     "org.enlightenment.", "org.flatpak.",  "org.freedesktop.",
                              "org.gnome.",     "org.gtk.",           "org.kde.",      "org.lxde.",
                              "org.lxqt.",      "org.mate.",          "org.pipewire.", "org.pulseaudio.",
                              "org.x.",         "org.xfce."};

constexpr std::array programRunners{"com.heroicgameslauncher.", "com.playonlinux", "com.usebottles.",
                                    "com.valvesoftware.",       "net.davidotek.",  "net.lutris.",
                                    "org.phoenicis.",           "org.winehq."};

bool isOneOf(std::string_view word, std::string_view list) {
    return !word.empty() && word.find(' ') == std::string_view::npos &&
           list.find(' ' + std::string(word) + ' ') != std::string_view::npos;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

/// Whether something could be called so: no number, no version.
bool isLabel(std::string_view label) {
    const bool isWord = std::ranges::all_of(label, [](char character) {
        return isDigit(character) || isLetter(character) || character == '_' || character == '-';
    });
    if (!isWord || std::ranges::none_of(label, isLetter) || isDigit(label.front())) {
        return false;
    }
    const bool isVersion = (label[0] == 'v' || label[0] == 'V') && label.size() > 1 &&
                           std::all_of(label.begin() + 1, label.end(), isDigit);
    return !isVersion;
}

bool endsAFileName(std::string_view label) {
    const std::string last = lowered(label);
    const std::string part = last.substr(last.find_last_of("-_") + 1); // past the end of none is all of it
    return isOneOf(last, fileSuffixes) || isOneOf(part, copyMarks);
}

/// A version or one of the addenda.
bool isAddendum(std::string_view part) {
    const bool isVersion =
        !part.empty() && (isDigit(part[0]) || (part[0] == 'v' && part.size() > 1 && isDigit(part[1])));
    return part.empty() || isVersion || isOneOf(part, addenda);
}

std::string_view withoutFileSuffix(std::string_view lower) {
    for (const std::string_view suffix : {".appimage", ".desktop", ".exe", ".lnk", ".sh", ".py", ".jar"}) {
        if (lower.size() > suffix.size() && lower.ends_with(suffix)) {
            return lower.substr(0, lower.size() - suffix.size());
        }
    }
    return lower;
}

std::string joined(std::string_view name) {
    std::string text(name);
    std::erase_if(text, [](char character) {
        return character == '-' || character == '_' || character == '.' || character == ' ';
    });
    return text;
}

} // namespace

std::vector<std::string_view> labels(std::string_view name) {
    std::vector<std::string_view> parts;
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find('.', begin), name.size());
        parts.push_back(name.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

bool looksLikeIdentifier(std::string_view name) {
    constexpr std::size_t longest = 255; // bytes, as of a file's name
    if (name.size() > longest) {
        return false;
    }
    const auto parts = labels(name);
    const bool isUnmistakable = isOneOf(parts.front(), unmistakable);
    const bool isKnown =
        isUnmistakable || isOneOf(parts.front(), countries) || isOneOf(parts.front(), everyday);
    return isKnown && parts.size() >= (isUnmistakable ? 2 : 3) && std::ranges::all_of(parts, isLabel) &&
           !endsAFileName(parts.back());
}

const std::vector<std::string_view>& sharedNames() {
    static const std::vector<std::string_view> names{"Trash",
                                                     "applications",
                                                     "autostart",
                                                     "baloo",
                                                     "containers",
                                                     "dbus-1",
                                                     "dconf",
                                                     "environment.d",
                                                     "evolution",
                                                     "flatpak",
                                                     "fontconfig",
                                                     "fonts",
                                                     "glib-2.0",
                                                     "gnome-shell",
                                                     "gnupg",
                                                     "goa-1.0",
                                                     "gtk-2.0",
                                                     "gtk-3.0",
                                                     "gtk-4.0",
                                                     "gvfs-metadata",
                                                     "icc",
                                                     "icons",
                                                     "keyrings",
                                                     "kio",
                                                     "kxmlgui5",
                                                     "libaccounts-glib",
                                                     "mime",
                                                     "menus",
                                                     "mimeapps.list",
                                                     "pulse",
                                                     "qt5ct",
                                                     "qt6ct",
                                                     "recently-used.xbel",
                                                     "sounds",
                                                     "ssh",
                                                     "systemd",
                                                     "themes",
                                                     "tracker3",
                                                     "user-dirs.dirs",
                                                     "user-dirs.locale",
                                                     "vulkan",
                                                     "wallpapers",
                                                     "wireplumber",
                                                     "xsessions"};
    return names;
}

bool isDesktopName(std::string_view name) {
    const std::string lower = lowered(name);
    return std::ranges::find(sharedNames(), name) != sharedNames().end() ||
           std::ranges::any_of(desktops, [&](const char* prefix) { return lower.starts_with(prefix); });
}

bool runsOtherPrograms(std::string_view name) {
    const std::string lower = lowered(name);
    return std::ranges::any_of(programRunners, [&](const char* prefix) { return lower.starts_with(prefix); });
}

bool isOwnName(std::string_view name) {
    const std::string lower = lowered(name);
    const auto parts = labels(lower);
    return std::ranges::find(parts, "zorbel") != parts.end();
}

std::string_view vendorOf(std::string_view name) {
    const auto second = name.find('.', std::min(name.find('.'), name.size() - 1) + 1);
    const std::string_view first = name.substr(0, second);
    if (first.find('.') == std::string_view::npos || !isOneOf(first, hosts)) {
        return first.find('.') == std::string_view::npos ? std::string_view() : first;
    }
    return second == std::string_view::npos ? std::string_view() : name.substr(0, name.find('.', second + 1));
}

bool isGenericLabel(std::string_view label) {
    return isOneOf(label, genericLabels);
}

std::string comparable(std::string_view name) {
    return joined(withoutFileSuffix(lowered(name)));
}

std::string comparableStem(std::string_view name) {
    const std::string lower = lowered(name);
    std::string_view rest = withoutFileSuffix(lower);
    for (;;) {
        const auto cut = rest.find_last_of("-_. ");
        // "x86_64" is one word.
        const bool isPlatform = rest.ends_with("x86_64") && rest.size() > 7;
        if (!isPlatform && (cut == std::string_view::npos || cut == 0 || !isAddendum(rest.substr(cut + 1)))) {
            return joined(rest);
        }
        rest = rest.substr(0, isPlatform ? rest.size() - 7 : cut);
    }
}

} // namespace Linux
