#pragma once

#include "Mordan/Wound.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Pasteboard.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Spice.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mordan {

/// Keeps what is copied while it is on, and puts any of it back. In memory only: a quit loses everything.
/// Main thread only.
class MordanSpice : public ZorbelKit::Spice {
public:
    static constexpr ZorbelKit::Seconds pollInterval{0.5};
    static constexpr std::size_t previewLength = 400; // characters
    static constexpr std::size_t longText = std::size_t{1}
                                            << 20; // bytes; from here on read off the main thread

    MordanSpice(ZorbelKit::MainLoop& loop, const ZorbelKit::Clock& clock, ZorbelKit::Pasteboard& pasteboard,
                const ZorbelKit::Workspace& workspace, const ZorbelKit::Language& language);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    /// Puts the entry's text on the pasteboard. A picture has none: nothing happens. The next change that
    /// anybody makes on the pasteboard is then not kept.
    void restore(const Wound& wound);
    void togglePin(const Wound& wound); // the entry with this id; none, no change
    void forget(const Wound& wound);    // every entry with this id

    const std::vector<Wound>& items() const { return items_.get(); } // oldest first
    const std::string& search() const { return search_.get(); }
    void setSearch(const std::string& text) { search_.set(text); }
    std::int64_t capacity() const { return capacity_.get(); }          // most unpinned entries
    void setCapacity(std::int64_t entries) { capacity_.set(entries); } // the next new entry trims

    /// What the list shows: pinned entries first, then the newest first, and only those whose preview
    /// contains `search`, case aside.
    std::vector<Wound> visible() const;

    /// What cannot be kept on this desktop, as a sentence; empty where everything can.
    std::string watchingHint() const { return pasteboard_.watchingHint(); }

    /// How texts are compared.
    const ZorbelKit::Language& language() const { return language_; }

    /// What the pasteboard holds, as a new entry; none where nothing on it can be read.
    static std::optional<Wound> classify(const ZorbelKit::Pasteboard& pasteboard,
                                         const ZorbelKit::Workspace& workspace, const ZorbelKit::Clock& clock,
                                         const ZorbelKit::Language& language);

    /// Text, code or colour.
    static Wound::Kind detectKind(std::string_view text);

private:
    void poll();
    void examineNext();
    void hold(Wound wound);
    void release(std::vector<Wound>& items) const;
    void edit(const std::function<void(std::vector<Wound>&)>& change);

    ZorbelKit::MainLoop& loop_;
    const ZorbelKit::Clock& clock_;
    ZorbelKit::Pasteboard& pasteboard_;
    const ZorbelKit::Workspace& workspace_;
    const ZorbelKit::Language& language_;
    ZorbelKit::Published<std::vector<Wound>> items_{*this};
    ZorbelKit::Published<std::string> search_{*this};
    ZorbelKit::Published<std::int64_t> capacity_{*this, 500};
    std::int64_t lastChangeCount_;
    bool isRestoring_ = false;
    std::deque<Wound> unexamined_; // copied, in order; the first is a long text whose kind is being found out
    std::unordered_map<ZorbelKit::Uuid, std::string> foldedPreviews_; // of every item: a search only compares
    ZorbelKit::Lifetime lifetime_;
    ZorbelKit::Token watch_;
    ZorbelKit::Token timer_;
};

} // namespace Mordan
