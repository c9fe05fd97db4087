#pragma once

#include <QPixmap>

#include <filesystem>
#include <functional>
#include <memory>

class QDrag;
class QDropEvent;
class QMimeData;

namespace Ledgra {

/// A file on its way off the shelf, under the pointer. It is offered to be copied and nothing else.
class FileDrag {
public:
    /// What the receiver may ask for: the file as text/uri-list, and its path as plain text, for terminals.
    /// No plain text where the path is none, or where a terminal would take a part of it for a key.
    static std::unique_ptr<QMimeData> data(const std::filesystem::path& file);

    /// Drags as soon as the event at hand has been answered, if the button is still down then. Whoever calls
    /// may be gone before it ends, but not its window: a drag goes with that.
    static void begin(QWidget& from, const std::filesystem::path& file, const QPixmap& picture);

    /// Whether a drag over a widget comes from this program.
    static bool isOwn(const QDropEvent& event);

    /// What takes the place of the toolkit's own loop, in which a drag waits for its end. Returns what did
    /// so before.
    static std::function<void(QDrag& drag)> setRunnerForTesting(std::function<void(QDrag& drag)> run);
};

} // namespace Ledgra
