#pragma once

#include <cstdint>
#include <dbus/dbus.h>
#include <deque>
#include <string>
#include <vector>

namespace Bench {

/// Programs with icons in the tray, played by the benchmark: any number of bus connections, and on each any
/// number of items of one plain colour. All in one thread, which has to call work() often while it waits.
class TrayPrograms {
public:
    using Number = std::size_t;

    TrayPrograms() = default;
    TrayPrograms(const TrayPrograms&) = delete;
    TrayPrograms& operator=(const TrayPrograms&) = delete;
    ~TrayPrograms();

    /// A program that has registered nothing yet; colours are 0xRRGGBB. With two of them the picture is
    /// another one each time an item is asked.
    Number start(std::uint32_t colour);
    Number start(std::uint32_t one, std::uint32_t other);
    void end(Number program); // the connection closes, as when a program dies

    /// Registers an item under this well-known name, a path or, empty, the program's own name. Does not wait.
    void registerItem(Number program, const std::string& argument = {});
    void takeName(Number program, const std::string& name);
    void dropName(Number program, const std::string& name);

    /// Tells that an item has another picture.
    void tellNewIcon(Number program, const std::string& path);

    /// How often the items of a program were asked for their properties.
    int questions(Number program) const { return programs_[program].questions; }

    /// Answers whoever asks. Does not wait.
    void work();

    /// What wakes a wait for work.
    std::vector<int> descriptors() const;

    /// What the watcher lists now; waits for the answer. None where there is no watcher.
    static std::vector<std::string> listed();
    static bool hasWatcher();

private:
    struct Program {
        DBusConnection* bus = nullptr; // none once it has ended
        std::uint32_t colours[2] = {0, 0};
        int questions = 0;
    };

    static void send(const Program& program, DBusMessage* message);
    static void handle(Program& program, DBusMessage* message);
    static void askBus(const Program& program, const char* method, const std::string& name);

    std::deque<Program> programs_;
};

} // namespace Bench
