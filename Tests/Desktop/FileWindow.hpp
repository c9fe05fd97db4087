#pragma once

#include "Tests/Desktop/Desktop.hpp"

#include <filesystem>
#include <string>

namespace Desktop {

enum class FileManagerKind { thunar, pcmanfm }; // of GTK 3; of Qt

/// A file manager that shows one folder in a window, as a user sees and touches it.
class FileWindow {
public:
    /// `frame`: where the window is put. The folder is empty, and has a name of its own.
    FileWindow(const Screen& screen, FileManagerKind kind, std::filesystem::path folder, const QRect& frame);

    /// Whether the window came up.
    bool isShown() const;

    /// The folder's part of the window.
    QRect pane() const;

    /// A place in it where no file is.
    QPoint ground() const;

    /// Puts the first file into the folder and waits until it is seen: where it is then. Null where it is
    /// not.
    QPoint showFirst(const std::string& name, const std::string& content) const;

    /// Waits until nothing moves in the pane any more.
    [[nodiscard]] bool isSettled() const;

    void selectAll() const;

    /// Drags what lies there into the folder, to be copied.
    void take(QPoint from) const;
    void kill() { program_.send(9); }

private:
    std::optional<Window> window() const;

    const Screen& screen_;
    FileManagerKind kind_;
    std::filesystem::path folder_;
    Program program_;
};

/// With the left button held, as a hand does it, a hundredth of a second a step; it stays held.
void carry(const Screen& screen, QPoint from, QPoint to);

/// Presses, carries and lets go.
void dragAndDrop(const Screen& screen, QPoint from, QPoint to);

} // namespace Desktop
