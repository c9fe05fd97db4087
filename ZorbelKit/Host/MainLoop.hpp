#pragma once

#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>

namespace ZorbelKit {

enum class Priority { utility, userInitiated };

/// Time and threads as the suite sees them. Timers and posted tasks run on the main thread, in order of their
/// due times; equal due times in order of creation.
class MainLoop {
public:
    using Task = std::function<void()>;

    virtual ~MainLoop() = default;

    /// Calls `tick` again and again until the token goes; keeps firing while a menu is open. Main thread
    /// only.
    virtual Token every(Seconds interval, Task tick) = 0;

    /// Calls `task` once, unless the token goes first. The token stays true afterwards. Main thread only.
    virtual Token after(Seconds delay, Task task) = 0;

    /// Runs `task` on the main thread as soon as it is free. From any thread.
    virtual void post(Task task) = 0;

    /// Runs `work` off the main thread. `work` touches no model: it hands its result back with `post`.
    virtual void background(Priority priority, Task work) = 0;

    virtual bool isMainThread() const = 0;
};

} // namespace ZorbelKit
