#pragma once

#include "Hushel/Session.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Controls/RowList.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <optional>
#include <vector>

class QLabel;

namespace ZorbelKit {
class AppIcon;
class BrassButton;
class LineText;
class QuietButton;
class Reading;
class SymbolButton;
} // namespace ZorbelKit

namespace Hushel {

class HushelSpice;

/// A view whose clock goes on every second, while it is shown and a session runs.
class SessionView : public ZorbelKit::LiveView {
protected:
    SessionView(HushelSpice& spice, QWidget* parent);

    virtual void write() = 0;      // everything but the clock
    virtual void writeClock() = 0; // what changes by the second
    HushelSpice& spice() const { return spice_; }

    void refresh() final;
    void hideEvent(QHideEvent* event) override;

private:
    void passSecond();

    HushelSpice& spice_;
    ZorbelKit::Token second_;
};

/// The block in the menu panel.
class HushelMenuSection final : public SessionView {
public:
    HushelMenuSection(HushelSpice& spice, QWidget* parent);

protected:
    void write() override;
    void writeClock() override;

private:
    ZorbelKit::QuietButton* start_;
    QWidget* running_;
    ZorbelKit::Reading* clock_;
    ZorbelKit::QuietButton* stop_;
};

/// One length a session may have.
class Preset final : public ZorbelKit::Tile {
public:
    static constexpr int height = 44; // points

    Preset(std::int64_t minutes, QWidget* parent);

    QSize sizeHint() const override { return {56, height}; }

protected:
    void nextCheckState() override {} // the model says which one is chosen
    void paintEvent(QPaintEvent* event) override;
};

/// The lengths side by side. The arrow keys choose among them.
class PresetRow final : public QWidget {
public:
    PresetRow(HushelSpice& spice, QWidget* parent);

    void refresh();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    HushelSpice& spice_;
    std::vector<Preset*> presets_; // in the order of their minutes
};

/// Chooses a length and starts.
class Setup final : public QWidget {
public:
    Setup(HushelSpice& spice, QWidget* parent);

    void refresh();
    ZorbelKit::BrassButton& start() const { return *start_; }

private:
    PresetRow* presets_;
    ZorbelKit::BrassButton* start_;
};

/// How much of the session is through, as a ring that closes, round what is left of it.
class SessionRing final : public QWidget {
public:
    static constexpr int diameter = 132; // points

    SessionRing(const ZorbelKit::Color& colour, QWidget* parent);

    /// `progress` is a fraction; the ring shows it between 0 and 1. A move too small to see is not drawn.
    void write(double progress, const QString& clock);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const ZorbelKit::Color colour_;
    double shown_ = 0;
    ZorbelKit::Reading* clock_;
};

/// The session that runs.
class Running final : public QWidget {
public:
    Running(HushelSpice& spice, QWidget* parent);

    void refresh();
    void writeClock();
    ZorbelKit::QuietButton& stop() const { return *stop_; }

private:
    HushelSpice& spice_;
    SessionRing* ring_;
    QLabel* end_;
    QLabel* interruptions_;
    ZorbelKit::QuietButton* stop_;
};

/// An application in a list.
class ApplicationRow : public ZorbelKit::ListRow {
public:
    static constexpr int rowHeight = 36; // points

    /// The same again does nothing.
    void bind(const Blocked& application);

    const std::optional<Blocked>& application() const { return application_; } // none before the first

protected:
    ApplicationRow(HushelSpice& spice, QWidget* parent);

    HushelSpice& spice() const { return spice_; }
    virtual void applicationChanged(const QString&) {} // with its name
    void addAtRight(QWidget* part);
    bool event(QEvent* event) override;

private:
    HushelSpice& spice_;
    std::optional<Blocked> application_;
    ZorbelKit::AppIcon* icon_;
    ZorbelKit::LineText* name_;
};

/// One that is kept out of the way, and the button that ends that.
class KeptRow final : public ApplicationRow {
public:
    KeptRow(HushelSpice& spice, QWidget* parent);

    void remove();

protected:
    void applicationChanged(const QString& name) override;

private:
    ZorbelKit::SymbolButton* remove_;
};

/// One that can be added. A click does.
class CandidateRow final : public ApplicationRow {
public:
    CandidateRow(HushelSpice& spice, QWidget* parent);

protected:
    std::optional<ZorbelKit::Color> shade() const override;

private:
    void add();
};

/// Applications on a card, or what there is to say while there are none. More than a few scroll.
class ApplicationList final : public QWidget {
public:
    static constexpr int mostInSight = 6;

    ApplicationList(const QString& name, const QString& nothing, bool raised,
                    std::function<ApplicationRow*(QWidget* parent)> make, QWidget* parent);

    void setApplications(std::vector<Blocked> applications);

    bool isEmpty() const { return applications_.empty(); }
    ZorbelKit::RowList& rows() const { return *rows_; }

private:
    std::vector<Blocked> applications_;
    ZorbelKit::RowList* rows_;
    QLabel* nothing_;
};

/// Adds running applications to the list. It stays open as long as its user adds.
class Picker final : public QWidget {
public:
    Picker(HushelSpice& spice, QWidget* parent);

    /// Asks what runs.
    void read();

    void takeKeyboard();
    void onLeave(std::function<void()> left); // Up on the first row, or the last of all was added

private:
    HushelSpice& spice_;
    ApplicationList* candidates_;
};

/// The applications that a session hides, and the way to more of them.
class KeptOut final : public QWidget {
public:
    KeptOut(HushelSpice& spice, QWidget* parent);

    void refresh();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void setOpen(bool open);
    void reveal();

    HushelSpice& spice_;
    std::vector<Blocked> listed_; // when the picker last read
    ApplicationList* list_;
    ZorbelKit::QuietButton* add_; // checked while the picker is open
    Picker* picker_;
};

/// The dashboard page.
class HushelPanel final : public SessionView {
public:
    HushelPanel(HushelSpice& spice, QWidget* parent);

protected:
    void write() override;
    void writeClock() override;

private:
    QString hint() const;

    Setup* setup_;
    Running* running_;
    QLabel* hint_;
    KeptOut* keptOut_;
};

} // namespace Hushel
