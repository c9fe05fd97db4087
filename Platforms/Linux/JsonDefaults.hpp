#pragma once

#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Defaults.hpp"

#include <filesystem>
#include <functional>
#include <memory>

namespace Linux {

/// The user's settings in one JSON file that a person can read and edit.
///
///     { "rusket.history": 60, "pintho.opacity": 1.0, "mordan.pin": {"data": "AAEC"} }
///
/// The file is read once, on construction; a change made to it from outside while we run is overwritten by
/// our next write. Values we do not know, or not of the type asked for, stay as they are until they are set.
///
/// A change is stored a moment later by a background task; changes that come together are stored together.
/// What could not be stored is kept and tried again at the next change or `flush`.
///
/// An empty path means that there is no place for a file: settings then last for this run only.
///
/// A damaged file is renamed ("settings.json.damaged-20260314T090000Z") and we start afresh. If there is a
/// file that can be neither read nor renamed, it is left alone: settings then last for this run only.
///
/// JSON has no place for two things: a number that is not finite and the bytes of a string that are not
/// UTF-8. Both hold for this run; the next one finds no number, and U+FFFD in the string.
class JsonDefaults : public ZorbelKit::Defaults {
public:
    /// Takes one line of text about what went wrong. Called on the main thread or in background work, never
    /// twice at the same time, and never after the destructor.
    using Report = std::function<void(const std::string& line)>;

    /// Larger files count as damaged, and none is written.
    static constexpr std::size_t largestFile = std::size_t{4} * 1024 * 1024; // bytes

    JsonDefaults(std::filesystem::path file, ZorbelKit::MainLoop& loop, Report report = printReport);
    JsonDefaults(const JsonDefaults&) = delete;
    JsonDefaults& operator=(const JsonDefaults&) = delete;
    ~JsonDefaults() override; // flushes

    std::optional<bool> boolean(std::string_view key) const override;
    std::optional<std::int64_t> integer(std::string_view key) const override;
    std::optional<double> number(std::string_view key) const override;
    std::optional<std::string> string(std::string_view key) const override;
    std::optional<Data> data(std::string_view key) const override;

    void setBoolean(std::string_view key, bool value) override;
    void setInteger(std::string_view key, std::int64_t value) override;
    void setNumber(std::string_view key, double value) override;
    void setString(std::string_view key, const std::string& value) override;
    void setData(std::string_view key, const Data& value) override;
    void remove(std::string_view key) override;

    /// Stores now what is not stored yet, after waiting for a write that is under way. True when the file
    /// then holds every change.
    bool flush();

    /// One line on standard error.
    static void printReport(const std::string& line);

private:
    class Store;

    template <class Value>
    void write(std::string_view key, Value&& value);
    void storeSoon();

    ZorbelKit::MainLoop& loop_;
    std::shared_ptr<Store> store_; // tasks under way hold it weakly
};

} // namespace Linux
