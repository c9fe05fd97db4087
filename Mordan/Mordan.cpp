#include "Mordan/Mordan.hpp"

#include "Mordan/MordanTexts.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/Workspace.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace Mordan {

using namespace ZorbelKit;

namespace {

constexpr std::size_t mostPreviewBytes = 16 << 10; // one character can have any number of accents

std::string previewOf(std::string_view text, const Language& language) {
    return std::string(
        language.prefix(utf8::prefixOfBytes(text, mostPreviewBytes), MordanSpice::previewLength));
}

std::string lastPathComponent(const std::string& path) {
    const auto end = path.find_last_not_of('/');
    if (end == std::string::npos) {
        return path; // the root
    }
    const auto slash = path.find_last_of('/', end);
    const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(begin, end + 1 - begin);
}

/// What the pasteboard holds; a plain text's kind is still to be found out.
std::optional<Wound> read(const Pasteboard& pasteboard, const Workspace& workspace, const Clock& clock,
                          const Language& language) {
    Wound wound;
    wound.id = Uuid::make();
    wound.woundAt = clock.now();
    if (auto front = workspace.frontmostApplication()) {
        wound.source = std::move(front->localizedName);
    }
    if (const auto urls = pasteboard.urls(); !urls.empty()) {
        const PasteboardUrl& url = urls.front();
        wound.kind = url.path ? Wound::Kind::file : Wound::Kind::url;
        wound.preview = url.path ? lastPathComponent(*url.path) : url.absoluteString;
        wound.text = url.path ? *url.path : url.absoluteString;
        return wound;
    }
    if (auto text = pasteboard.string(); text && !utf8::trimmed(text->view()).empty()) {
        wound.preview = previewOf(text->view(), language);
        wound.text = std::move(text);
        return wound;
    }
    if (pasteboard.hasPicture(PictureType::tiff) || pasteboard.hasPicture(PictureType::png)) {
        wound.kind = Wound::Kind::image;
        wound.preview = "Image";
        return wound;
    }
    return std::nullopt;
}

bool isPlainText(const Wound& wound) {
    return wound.kind == Wound::Kind::text;
}

} // namespace

MordanSpice::MordanSpice(MainLoop& loop, const Clock& clock, Pasteboard& pasteboard,
                         const Workspace& workspace, const Language& language)
    : Spice({.id = "mordan",
             .name = "Mordan",
             .role = "Clipboard",
             .summary = "Keeps what you copy, and puts any of it back.",
             .reason = "Named for the mortar: whatever goes in is pressed down and kept until you "
                       "scoop it out again.",
             .wave = Wave::inTheCup})
    , loop_(loop)
    , clock_(clock)
    , pasteboard_(pasteboard)
    , workspace_(workspace)
    , language_(language)
    , lastChangeCount_(pasteboard.changeCount()) {
}

void MordanSpice::steep() {
    if (timer_) {
        return;
    }
    watch_ = pasteboard_.watch();
    lastChangeCount_ = pasteboard_.changeCount(); // what lies there already is not ours to keep
    timer_ = loop_.every(pollInterval, [this] { poll(); });
}

void MordanSpice::rest() {
    timer_.reset();
    watch_.reset();
    lifetime_.renew();
    unexamined_.clear();
    edit([](std::vector<Wound>& items) {
        std::erase_if(items, [](const Wound& wound) { return !wound.pinned; });
    });
}

void MordanSpice::poll() {
    const std::int64_t count = pasteboard_.changeCount();
    if (count == lastChangeCount_) {
        return;
    }
    lastChangeCount_ = count;
    if (std::exchange(isRestoring_, false)) {
        return;
    }
    auto wound = read(pasteboard_, workspace_, clock_, language_);
    if (!wound) {
        return;
    }
    unexamined_.push_back(std::move(*wound));
    if (unexamined_.size() == 1) {
        examineNext();
    }
}

/// Entries are held in the order they were copied, also when one of them is so long that looking through it
/// would be felt on the main thread.
void MordanSpice::examineNext() {
    while (!unexamined_.empty()) {
        Wound& next = unexamined_.front();
        if (isPlainText(next) && next.text->size() >= longText) {
            auto answer = lifetime_.guard([this](Wound::Kind kind) {
                Wound wound = std::move(unexamined_.front());
                unexamined_.pop_front();
                wound.kind = kind;
                hold(std::move(wound));
                examineNext();
            });
            loop_.background(
                Priority::userInitiated, [&loop = loop_, text = *next.text, answer = std::move(answer)] {
                    loop.post([answer, kind = detectKind(text.view())]() mutable { answer(kind); });
                });
            return;
        }
        Wound wound = std::move(next);
        unexamined_.pop_front();
        if (isPlainText(wound)) {
            wound.kind = detectKind(wound.text->view());
        }
        hold(std::move(wound));
    }
}

void MordanSpice::hold(Wound wound) {
    edit([&](std::vector<Wound>& items) {
        const auto same = std::ranges::find_if(items, [&](const Wound& held) {
            return held.preview == wound.preview && held.kind == wound.kind;
        });
        if (same != items.end()) {
            same->woundAt = clock_.now();
            return;
        }
        items.push_back(std::move(wound));
        release(items);
    });
}

void MordanSpice::release(std::vector<Wound>& items) const {
    std::vector<std::pair<TimePoint, Uuid>> unpinned;
    for (const Wound& wound : items) {
        if (!wound.pinned) {
            unpinned.emplace_back(wound.woundAt, wound.id);
        }
    }
    const auto count = static_cast<std::int64_t>(unpinned.size());
    if (count <= capacity()) {
        return;
    }
    std::ranges::stable_sort(unpinned, {}, &std::pair<TimePoint, Uuid>::first);
    unpinned.resize(static_cast<std::size_t>(count - std::max<std::int64_t>(capacity(), 0)));
    std::erase_if(items, [&](const Wound& wound) {
        return std::ranges::find(unpinned, wound.id, &std::pair<TimePoint, Uuid>::second) != unpinned.end();
    });
}

void MordanSpice::restore(const Wound& wound) {
    if (!wound.text) {
        return;
    }
    isRestoring_ = true;
    pasteboard_.setString(*wound.text);
    // Our own write is taken in here and the mark stays up: the next change, whoever makes it, is let pass.
    lastChangeCount_ = pasteboard_.changeCount();
}

void MordanSpice::togglePin(const Wound& wound) {
    edit([id = wound.id](std::vector<Wound>& items) {
        if (const auto found = std::ranges::find(items, id, &Wound::id); found != items.end()) {
            found->pinned = !found->pinned;
        }
    });
}

void MordanSpice::forget(const Wound& wound) {
    edit([id = wound.id](std::vector<Wound>& items) {
        std::erase_if(items, [id](const Wound& held) { return held.id == id; });
    });
}

std::vector<Wound> MordanSpice::visible() const {
    const std::string wanted = language_.folded(search());
    std::vector<const Wound*> found;
    for (const Wound& wound : items()) {
        if (wanted.empty() || foldedPreviews_.at(wound.id).find(wanted) != std::string::npos) {
            found.push_back(&wound);
        }
    }
    std::ranges::stable_sort(found, [](const Wound* one, const Wound* other) {
        return std::tie(one->pinned, one->woundAt) > std::tie(other->pinned, other->woundAt);
    });
    std::vector<Wound> wounds;
    wounds.reserve(found.size());
    for (const Wound* wound : found) {
        wounds.push_back(*wound);
    }
    return wounds;
}

/// Changes the list and what goes with it. The forms that are searched come first: the change itself is
/// told to readers, who look at once.
void MordanSpice::edit(const std::function<void(std::vector<Wound>&)>& change) {
    std::vector<Wound> next = items();
    change(next);
    std::unordered_map<Uuid, std::string> folded;
    folded.reserve(next.size());
    for (const Wound& wound : next) {
        auto known = foldedPreviews_.extract(wound.id);
        if (known) {
            folded.insert(std::move(known));
        } else {
            folded.emplace(wound.id, language_.folded(wound.preview));
        }
    }
    foldedPreviews_ = std::move(folded);
    items_.set(std::move(next));
}

std::optional<Wound> MordanSpice::classify(const Pasteboard& pasteboard, const Workspace& workspace,
                                           const Clock& clock, const Language& language) {
    auto wound = read(pasteboard, workspace, clock, language);
    if (wound && isPlainText(*wound)) {
        wound->kind = detectKind(wound->text->view());
    }
    return wound;
}

Wound::Kind MordanSpice::detectKind(std::string_view text) {
    const std::string_view trimmed = utf8::trimmed(text);
    if (writtenColour(trimmed)) {
        return Wound::Kind::colour;
    }
    constexpr std::array<std::string_view, 11> markers{
        "func ", "class ", "import ", "const ", "def ", "return ", "=> ", "();", "{\n", "</", "SELECT "};
    const auto isIn = [trimmed](std::string_view marker) {
        return trimmed.find(marker) != std::string_view::npos;
    };
    if (std::ranges::any_of(markers, isIn)) {
        return Wound::Kind::code;
    }
    const bool isIndented = trimmed.find('\n') != std::string_view::npos && trimmed.starts_with(' ');
    return isIndented ? Wound::Kind::code : Wound::Kind::text;
}

} // namespace Mordan
