#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Linux {

/// How a window answers programs that drag files over it: the target's half of XDND, without a server.
/// Whatever the other program does, each of its positions is answered once, each of its drops is finished
/// once, and the content hears of the end of all that it has heard the beginning of. Windows, atoms and times
/// are the server's.
class XdndTarget {
public:
    static constexpr std::uint32_t version = 5; // of the protocol

    /// What a client message carries.
    using Message = std::array<std::uint32_t, 5>;

    struct Place { // on the root window, in pixels, y downwards
        int x = 0;
        int y = 0;

        bool operator==(const Place&) const = default;
    };

    /// The program that drags, and the content that is dragged over.
    class Surroundings {
    public:
        virtual ~Surroundings() = default;

        /// Has its end told by `takeEnd`. False where it is gone already.
        virtual bool watch(std::uint32_t source) = 0;
        virtual void unwatch(std::uint32_t source) = 0;

        /// Its list of types, where these are more than a message holds.
        virtual std::vector<std::uint32_t> types(std::uint32_t source) = 0;
        virtual void sendStatus(std::uint32_t source, bool accepts) = 0;
        virtual void sendFinished(std::uint32_t source, bool isAccepted) = 0;

        /// Asks for the list of files as it was at this time; `takeList` or `takeFailure` follows before
        /// long, unless it is stopped.
        virtual void fetch(std::uint32_t time) = 0;
        virtual void stopFetching() = 0;

        // The content may call back in the midst of each.
        virtual bool moveOver(Place place) = 0; // whether it would take files here
        virtual void leave() = 0;
        virtual void drop(std::string list) = 0;
    };

    /// `fileList`: the type of a list of files.
    XdndTarget(Surroundings& surroundings, std::uint32_t fileList)
        : surroundings_(surroundings)
        , fileList_(fileList) {}

    void takeEnter(const Message& message);
    void takePosition(const Message& message);
    void takeLeave(const Message& message);
    void takeDrop(const Message& message);

    /// A window is no more.
    void takeEnd(std::uint32_t window);

    void takeList(std::string list);
    void takeFailure() { stop(); }

    /// Ends what is going on: the content is no longer there to be dragged over.
    void stop();

private:
    enum class Phase { away, over, fetching };

    void reset();

    Surroundings& surroundings_;
    std::uint32_t fileList_;
    Phase phase_ = Phase::away;
    std::uint32_t source_ = 0; // its window; 0 while nothing is dragged
    std::uint32_t sourceVersion_ = 0;
    bool hasFiles_ = false;
    bool accepts_ = false; // as it was told last
};

} // namespace Linux
