#pragma once

#include "Mordan/Wound.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Controls/RowList.hpp"

#include <QTimer>

#include <optional>
#include <string>
#include <vector>

class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class LineText;
class SearchField;
class SymbolButton;
} // namespace ZorbelKit

namespace Mordan {

class MordanSpice;

/// The symbol of an entry's kind; for a moment, a check mark that says that it was put back.
class KindMark final : public QWidget {
public:
    static constexpr int side = 16;                    // points
    static constexpr ZorbelKit::Seconds signTime{1.2}; // how long the check mark stays

    explicit KindMark(QWidget* parent);

    void setKind(Wound::Kind kind);
    void setDimmed(bool dimmed);
    void showSign();
    void endSign();

    QString symbol() const; // what it shows or is about to
    QSize sizeHint() const override { return {side, side}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void writeName();

    Wound::Kind kind_ = Wound::Kind::text;
    bool isDimmed_ = false;
    bool isSigning_ = false;
    ZorbelKit::Glide sign_; // 0 the kind, 1 the check mark
    QTimer signEnd_;
};

/// The colour that an entry writes.
class Swatch final : public QWidget {
public:
    static constexpr int side = 12; // points

    explicit Swatch(QWidget* parent);

    void setColour(const ZorbelKit::Color& colour);
    const ZorbelKit::Color& colour() const { return colour_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ZorbelKit::Color colour_;
};

/// One entry: its kind, its text on one line, and buttons to pin and to forget it, which show while the row
/// has attention.
class WoundRow : public ZorbelKit::ListRow {
public:
    static constexpr int rowHeight = 36;

    WoundRow(MordanSpice& spice, QWidget* parent);

    /// Shows an entry, and in it what is searched for. The same again does nothing.
    void bind(const Wound& wound);

    const std::optional<Wound>& wound() const { return wound_; } // none before the first

    void togglePin();
    void forget();

protected:
    MordanSpice& spice() { return spice_; }
    KindMark& mark() { return *mark_; }
    ZorbelKit::LineText& line() { return *line_; }

    virtual void entryChanged() {}
    void attentionChanged() override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void write();
    void arrange();

    MordanSpice& spice_;
    std::optional<Wound> wound_;
    std::string search_;
    KindMark* mark_;
    Swatch* swatch_;
    ZorbelKit::LineText* line_;
    ZorbelKit::SymbolButton* pin_;
    ZorbelKit::SymbolButton* forget_;
};

/// An entry in the menu panel: a click puts it back.
class CompactRow final : public WoundRow {
public:
    static constexpr int rowHeight = 30;

    CompactRow(MordanSpice& spice, QWidget* parent);

protected:
    void entryChanged() override;
    std::optional<ZorbelKit::Color> shade() const override;

private:
    bool canRestore() const { return wound() && wound()->text; }
    void restore();
};

/// The block in the menu panel: the newest entries; a click puts one back.
class MordanMenuSection final : public ZorbelKit::LiveView {
public:
    static constexpr std::size_t mostRows = 6;

    MordanMenuSection(MordanSpice& spice, QWidget* parent);

    int bleed() const override;

protected:
    void refresh() override;

private:
    MordanSpice& spice_;
    std::vector<Wound> wounds_; // what is listed
    ZorbelKit::RowList* list_;
    QLabel* nothing_;
};

/// The dashboard page: search, and the whole history.
class MordanPanel final : public ZorbelKit::LiveView {
public:
    MordanPanel(MordanSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    bool pressKey(QKeyEvent& key);

    MordanSpice& spice_;
    std::vector<Wound> wounds_; // what is listed
    ZorbelKit::SearchField* search_;
    QLabel* count_;
    QLabel* hint_;
    ZorbelKit::RowList* list_;
    QStackedLayout* states_;
};

} // namespace Mordan
