#include "Platforms/Linux/JsonDefaults.hpp"

#include "Platforms/Linux/AtomicFile.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <limits>
#include <mutex>
#include <utility>

namespace Linux {

using Data = ZorbelKit::Defaults::Data;
using nlohmann::json;

namespace {

constexpr int deepestNesting =
    100; // deeper is nobody's settings, and writing it would cost stack at every level

// ---- Data as text

constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64(const Data& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t index = 0; index < 3; ++index) {
            group = group << 8 | (index < count ? bytes[at + index] : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            text += digit <= count ? base64Digits[group >> (18 - 6 * digit) & 63U] : '=';
        }
    }
    return text;
}

std::optional<Data> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    text.remove_suffix(padding);
    Data bytes;
    bytes.reserve(text.size() * 3 / 4);
    std::uint32_t waiting = 0;
    int waitingBits = 0;
    for (const char character : text) {
        const auto digit = base64Digits.find(character);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        waiting = waiting << 6 | static_cast<std::uint32_t>(digit);
        waitingBits += 6;
        if (waitingBits >= 8) {
            waitingBits -= 8;
            bytes.push_back(static_cast<std::uint8_t>(waiting >> waitingBits));
        }
    }
    return bytes;
}

// ---- Reading the file

std::error_code lastError() {
    return {errno, std::generic_category()};
}

struct FileContents {
    enum class State { missing, read, damaged, unreadable };
    State state = State::missing;
    std::string text;
    std::error_code error; // why it is unreadable
};

FileContents readFile(const std::filesystem::path& file) {
    using State = FileContents::State;
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        return {isMissing ? State::missing : State::unreadable, {}, lastError()};
    }
    std::error_code ignored;
    if (S_ISDIR(status.st_mode) && !std::filesystem::is_symlink(file, ignored)) {
        return {State::damaged, {}, {}};
    }
    // A device, a pipe, a link to a folder: somebody's intention, and opening it might block.
    if (!S_ISREG(status.st_mode)) {
        return {State::unreadable, {}, std::make_error_code(std::errc::not_supported)};
    }
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return {State::unreadable, {}, lastError()};
    }
    FileContents contents{State::read, {}, {}};
    std::array<char, 16384> piece{};
    while (contents.state == State::read) {
        const ssize_t count = ::read(descriptor, piece.data(), piece.size());
        if (count == 0) {
            break;
        }
        if (count > 0) {
            contents.text.append(piece.data(), static_cast<std::size_t>(count));
            contents.state = contents.text.size() > JsonDefaults::largestFile ? State::damaged : State::read;
        } else if (errno != EINTR) {
            contents = {State::unreadable, {}, lastError()};
        }
    }
    ::close(descriptor);
    return contents;
}

std::optional<json> parse(const std::string& text) {
    // The parser takes a zero byte for the end; what stands after it would be lost.
    if (text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    bool isTooDeep = false;
    const auto keep = [&](int depth, json::parse_event_t, json&) {
        isTooDeep = isTooDeep || depth > deepestNesting;
        return !isTooDeep;
    };
    json values = json::parse(text, keep, /*allow_exceptions=*/false);
    if (isTooDeep || !values.is_object()) {
        return std::nullopt;
    }
    return values;
}

std::string utcStamp() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    std::array<char, 32> text{};
    ::gmtime_r(&now, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts)};
}

/// Renames without ever taking the place of something else.
std::error_code moveToFreeName(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return {};
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return lastError();
    }
    // This file system cannot promise it: look first.
    struct stat status {};
    if (::lstat(to.c_str(), &status) == 0) {
        return std::make_error_code(std::errc::file_exists);
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

/// Gives a damaged file a name of its own beside it, and returns that.
std::filesystem::path setAside(const std::filesystem::path& file, std::error_code& error) {
    const auto place = behindLinks(file, error);
    const std::string name = place.string() + ".damaged-" + utcStamp();
    std::filesystem::path aside = name;
    if (!error) {
        error = moveToFreeName(place, aside);
    }
    for (int number = 2; error == std::errc::file_exists; ++number) {
        aside = name + "-" + std::to_string(number);
        error = moveToFreeName(place, aside);
    }
    return aside;
}

} // namespace

void JsonDefaults::printReport(const std::string& line) {
    std::fputs(("zorbel: " + line + "\n").c_str(), stderr);
}

/// The values and their file. Values change on the main thread only, under `lock_`, so the main thread reads
/// them freely; the writer takes a copy under `lock_`. `writing_` is held through a whole write.
class JsonDefaults::Store {
public:
    Store(std::filesystem::path file, Report report)
        : file_(std::move(file))
        , report_(std::move(report)) {
        load();
    }

    const json* find(std::string_view key) const {
        const auto found = values_.find(key);
        return found == values_.end() ? nullptr : &*found;
    }

    /// Changes the values; true when a background task should be asked to `save`.
    template <class Edit>
    bool change(Edit edit) {
        const std::lock_guard guard(lock_);
        edit(values_);
        isDirty_ = true;
        return canStore_ && !std::exchange(isSaveAwaited_, true);
    }

    /// The background task: from here on, a change needs another one.
    void saveAwaited() {
        {
            const std::lock_guard guard(lock_);
            isSaveAwaited_ = false;
        }
        save();
    }

    /// Stores what is not stored yet. From any thread.
    bool save() {
        const std::lock_guard turn(writing_);
        json values;
        {
            const std::lock_guard guard(lock_);
            if (!isDirty_ || !canStore_ || isClosed_) {
                return !isDirty_;
            }
            values = values_;
            isDirty_ = false;
        }
        const std::string text =
            values.dump(2, ' ', /*ensure_ascii=*/false, json::error_handler_t::replace) + "\n";
        // A file larger than we read would be set aside at the next start.
        const auto error = text.size() > largestFile ? std::make_error_code(std::errc::file_too_large)
                                                     : writeAtomically(file_, text);
        if (!error) {
            isFailing_ = false;
            return true;
        }
        {
            const std::lock_guard guard(lock_);
            isDirty_ = true;
        }
        if (!std::exchange(isFailing_, true)) {
            say("the settings cannot be stored in " + file_.string() + " (" + error.message() +
                "); trying again at the next change");
        }
        return false;
    }

    /// The last `save`; a task still on its way does nothing.
    void close() {
        save();
        const std::lock_guard turn(writing_);
        const std::lock_guard guard(lock_);
        isClosed_ = true;
    }

private:
    void load() {
        using State = FileContents::State;
        if (file_.empty()) {
            canStore_ = false;
            say("there is no folder for settings (neither XDG_CONFIG_HOME nor HOME is set); changes last for "
                "this run only");
            return;
        }
        auto contents = readFile(file_);
        if (contents.state == State::read) {
            if (auto values = parse(contents.text)) {
                values_ = std::move(*values);
                return;
            }
            contents.state = State::damaged;
        }
        if (contents.state == State::damaged) {
            const auto aside = setAside(file_, contents.error);
            if (contents.error) {
                contents.state = State::unreadable;
            } else {
                say("the settings in " + file_.string() + " are damaged; kept as " + aside.string());
            }
        }
        if (contents.state == State::unreadable) {
            canStore_ = false;
            say("the settings in " + file_.string() + " cannot be used (" + contents.error.message() +
                "); changes last for this run only");
        }
    }

    void say(std::string line) const {
        std::replace_if(
            line.begin(), line.end(), [](char character) { return character >= 0 && character < ' '; }, '?');
        report_(line);
    }

    const std::filesystem::path file_;
    const Report report_;
    bool canStore_ = true; // settled by load()

    std::mutex lock_;
    json values_ = json::object();
    bool isDirty_ = false;
    bool isSaveAwaited_ = false;
    bool isClosed_ = false;

    std::mutex writing_;     // taken before lock_
    bool isFailing_ = false; // the last write failed and was reported
};

JsonDefaults::JsonDefaults(std::filesystem::path file, ZorbelKit::MainLoop& loop, Report report)
    : loop_(loop)
    , store_(std::make_shared<Store>(std::move(file), std::move(report))) {
}

JsonDefaults::~JsonDefaults() {
    store_->close();
}

std::optional<bool> JsonDefaults::boolean(std::string_view key) const {
    const json* value = store_->find(key);
    return value && value->is_boolean() ? std::optional(value->get<bool>()) : std::nullopt;
}

std::optional<std::int64_t> JsonDefaults::integer(std::string_view key) const {
    const json* value = store_->find(key);
    if (!value || !value->is_number_integer()) {
        return std::nullopt;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    if (value->is_number_unsigned() && value->get<std::uint64_t>() > largest) {
        return std::nullopt;
    }
    return value->get<std::int64_t>();
}

std::optional<double> JsonDefaults::number(std::string_view key) const {
    const json* value = store_->find(key);
    return value && value->is_number() ? std::optional(value->get<double>()) : std::nullopt;
}

std::optional<std::string> JsonDefaults::string(std::string_view key) const {
    const json* value = store_->find(key);
    return value && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::optional<Data> JsonDefaults::data(std::string_view key) const {
    const json* value = store_->find(key);
    if (!value || !value->is_object() || value->size() != 1) {
        return std::nullopt;
    }
    const auto text = value->find("data");
    return text != value->end() && text->is_string() ? fromBase64(text->get_ref<const std::string&>())
                                                     : std::nullopt;
}

void JsonDefaults::setBoolean(std::string_view key, bool value) {
    if (boolean(key) != value) {
        write(key, value);
    }
}

void JsonDefaults::setInteger(std::string_view key, std::int64_t value) {
    if (integer(key) != value) {
        write(key, value);
    }
}

void JsonDefaults::setNumber(std::string_view key, double value) {
    // Bit for bit: 0.0 and -0.0 are two values, and the integer 1 is not yet the number 1.0.
    const json* old = store_->find(key);
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if (!old || !old->is_number_float() || std::bit_cast<std::uint64_t>(old->get<double>()) != bits) {
        write(key, value);
    }
}

void JsonDefaults::setString(std::string_view key, const std::string& value) {
    if (string(key) != value) {
        write(key, value);
    }
}

void JsonDefaults::setData(std::string_view key, const Data& value) {
    if (data(key) != value) {
        write(key, json::object({{"data", base64(value)}}));
    }
}

void JsonDefaults::remove(std::string_view key) {
    if (store_->find(key) && store_->change([&](json& values) { values.erase(std::string(key)); })) {
        storeSoon();
    }
}

template <class Value>
void JsonDefaults::write(std::string_view key, Value&& value) {
    if (store_->change([&](json& values) { values[std::string(key)] = std::forward<Value>(value); })) {
        storeSoon();
    }
}

void JsonDefaults::storeSoon() {
    loop_.background(ZorbelKit::Priority::utility, [weakStore = std::weak_ptr(store_)] {
        if (const auto store = weakStore.lock()) {
            store->saveAwaited();
        }
    });
}

bool JsonDefaults::flush() {
    return store_->save();
}

} // namespace Linux
