#pragma once

#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"

#include <QObject>
#include <QRect>

#include <functional>
#include <memory>

class QMenu;

namespace Linux {

/// The menu of another program's item, shown by us: asked for afresh at each opening, never waited for.
/// Choices go back to the program. Main thread only.
class TrayMenu : public QObject {
    Q_OBJECT
public:
    static constexpr int timeLimit = 3000; // milliseconds for each answer

    /// `service` as the item was registered; `path` of the com.canonical.dbusmenu object.
    TrayMenu(QString service, QString path);
    ~TrayMenu() override; // closes it

    /// Shows the menu below `anchor` (the item on the screen, in the toolkit's coordinates) as soon as the
    /// program has told it. A second call while it is being asked for or is open closes it. `failed` is
    /// called where no menu comes.
    void open(const QRect& anchor, std::function<void()> failed);
    void close();
    bool isOpen() const;

    /// Called when it was closed, by a choice or otherwise.
    void onClosed(std::function<void()> closed) { closed_ = std::move(closed); }

private:
    std::function<void()> closed_;
};

} // namespace Linux
