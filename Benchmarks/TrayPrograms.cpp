#include "Benchmarks/TrayPrograms.hpp"

#include "Benchmarks/Measure.hpp"

#include <cstring>
#include <functional>
#include <utility>

namespace Bench {

namespace {

constexpr auto watcher = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr auto item = "org.kde.StatusNotifierItem";
constexpr auto properties = "org.freedesktop.DBus.Properties";
constexpr int side = 24; // pixels of a picture
constexpr int patience = 10'000;

DBusConnection* connection() {
    DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SESSION, nullptr);
    if (!bus) {
        fail("no session bus");
    }
    dbus_connection_set_exit_on_disconnect(bus, FALSE);
    return bus;
}

/// The one connection for questions of the benchmark itself.
DBusConnection* asker() {
    static DBusConnection* const bus = connection();
    return bus;
}

void appendPicture(DBusMessageIter& to, std::uint32_t colour) {
    std::uint8_t bytes[4 * side * side];
    for (std::size_t at = 0; at < sizeof bytes; at += 4) {
        bytes[at] = 0xFF; // alpha first
        bytes[at + 1] = static_cast<std::uint8_t>(colour >> 16);
        bytes[at + 2] = static_cast<std::uint8_t>(colour >> 8);
        bytes[at + 3] = static_cast<std::uint8_t>(colour);
    }
    const std::uint8_t* data = bytes;
    const dbus_int32_t length = side;
    DBusMessageIter pictures;
    DBusMessageIter picture;
    DBusMessageIter array;
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "(iiay)", &pictures);
    dbus_message_iter_open_container(&pictures, DBUS_TYPE_STRUCT, nullptr, &picture);
    dbus_message_iter_append_basic(&picture, DBUS_TYPE_INT32, &length);
    dbus_message_iter_append_basic(&picture, DBUS_TYPE_INT32, &length);
    dbus_message_iter_open_container(&picture, DBUS_TYPE_ARRAY, "y", &array);
    dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &data, sizeof bytes);
    dbus_message_iter_close_container(&picture, &array);
    dbus_message_iter_close_container(&pictures, &picture);
    dbus_message_iter_close_container(&to, &pictures);
}

struct Property {
    const char* name;
    const char* signature;
    std::function<void(DBusMessageIter&)> append;
};

std::vector<Property> itemProperties(std::uint32_t colour) {
    const auto text = [](const char* value) {
        return
            [value](DBusMessageIter& to) { dbus_message_iter_append_basic(&to, DBUS_TYPE_STRING, &value); };
    };
    return {{"Category", "s", text("ApplicationStatus")},
            {"Id", "s", text("benchmark")},
            {"Title", "s", text("Benchmark")},
            {"Status", "s", text("Active")},
            {"IconName", "s", text("")},
            {"IconPixmap", "a(iiay)", [colour](DBusMessageIter& to) { appendPicture(to, colour); }}};
}

void appendVariant(DBusMessageIter& to, const Property& property) {
    DBusMessageIter value;
    dbus_message_iter_open_container(&to, DBUS_TYPE_VARIANT, property.signature, &value);
    property.append(value);
    dbus_message_iter_close_container(&to, &value);
}

void appendAll(DBusMessage* reply, std::uint32_t colour) {
    DBusMessageIter to;
    DBusMessageIter map;
    dbus_message_iter_init_append(reply, &to);
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "{sv}", &map);
    for (const Property& property : itemProperties(colour)) {
        DBusMessageIter entry;
        dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &property.name);
        appendVariant(entry, property);
        dbus_message_iter_close_container(&map, &entry);
    }
    dbus_message_iter_close_container(&to, &map);
}

/// False where there is no such property.
bool appendOne(DBusMessage* reply, const char* name, std::uint32_t colour) {
    for (const Property& property : itemProperties(colour)) {
        if (std::strcmp(property.name, name) == 0) {
            DBusMessageIter to;
            dbus_message_iter_init_append(reply, &to);
            appendVariant(to, property);
            return true;
        }
    }
    return false;
}

} // namespace

TrayPrograms::~TrayPrograms() {
    for (Number program = 0; program < programs_.size(); ++program) {
        end(program);
    }
}

TrayPrograms::Number TrayPrograms::start(std::uint32_t colour) {
    return start(colour, colour);
}

TrayPrograms::Number TrayPrograms::start(std::uint32_t one, std::uint32_t other) {
    programs_.push_back({connection(), {one, other}});
    return programs_.size() - 1;
}

void TrayPrograms::end(Number program) {
    if (DBusConnection* bus = std::exchange(programs_[program].bus, nullptr)) {
        dbus_connection_close(bus);
        dbus_connection_unref(bus);
    }
}

void TrayPrograms::send(const Program& program, DBusMessage* message) {
    dbus_connection_send(program.bus, message, nullptr);
    dbus_message_unref(message);
}

void TrayPrograms::registerItem(Number number, const std::string& argument) {
    const Program& program = programs_[number];
    const char* text = argument.empty() ? dbus_bus_get_unique_name(program.bus) : argument.c_str();
    DBusMessage* message =
        dbus_message_new_method_call(watcher, watcherPath, watcher, "RegisterStatusNotifierItem");
    dbus_message_append_args(message, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    dbus_message_set_no_reply(message, TRUE);
    send(program, message);
}

void TrayPrograms::askBus(const Program& program, const char* method, const std::string& name) {
    const char* text = name.c_str();
    DBusMessage* message =
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method);
    dbus_message_append_args(message, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    if (std::strcmp(method, "RequestName") == 0) {
        const dbus_uint32_t flags = DBUS_NAME_FLAG_DO_NOT_QUEUE;
        dbus_message_append_args(message, DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    }
    dbus_message_set_no_reply(message, TRUE);
    send(program, message);
}

void TrayPrograms::takeName(Number program, const std::string& name) {
    askBus(programs_[program], "RequestName", name);
}

void TrayPrograms::dropName(Number program, const std::string& name) {
    askBus(programs_[program], "ReleaseName", name);
}

void TrayPrograms::tellNewIcon(Number program, const std::string& path) {
    send(programs_[program], dbus_message_new_signal(path.c_str(), item, "NewIcon"));
}

void TrayPrograms::work() {
    for (Program& program : programs_) {
        if (!program.bus) {
            continue;
        }
        dbus_connection_read_write(program.bus, 0);
        while (DBusMessage* message = dbus_connection_pop_message(program.bus)) {
            handle(program, message);
            dbus_message_unref(message);
        }
    }
}

void TrayPrograms::handle(Program& program, DBusMessage* message) {
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
        return;
    }
    const std::uint32_t colour = program.colours[program.questions % 2];
    if (dbus_message_is_method_call(message, properties, "GetAll")) {
        ++program.questions;
        DBusMessage* reply = dbus_message_new_method_return(message);
        appendAll(reply, colour);
        send(program, reply);
        return;
    }
    const char* interface = nullptr;
    const char* name = nullptr;
    if (dbus_message_is_method_call(message, properties, "Get") &&
        dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &interface, DBUS_TYPE_STRING, &name,
                              DBUS_TYPE_INVALID)) {
        DBusMessage* reply = dbus_message_new_method_return(message);
        if (appendOne(reply, name, colour)) {
            send(program, reply);
            return;
        }
        dbus_message_unref(reply);
    }
    send(program, dbus_message_new_error(message, DBUS_ERROR_UNKNOWN_METHOD, "The item has no such thing"));
}

std::vector<int> TrayPrograms::descriptors() const {
    std::vector<int> result;
    for (const Program& program : programs_) {
        int descriptor = -1;
        if (program.bus && dbus_connection_get_unix_fd(program.bus, &descriptor)) {
            result.push_back(descriptor);
        }
    }
    return result;
}

bool TrayPrograms::hasWatcher() {
    return dbus_bus_name_has_owner(asker(), watcher, nullptr);
}

std::vector<std::string> TrayPrograms::listed() {
    const char* name = "RegisteredStatusNotifierItems";
    DBusMessage* question = dbus_message_new_method_call(watcher, watcherPath, properties, "Get");
    dbus_message_append_args(question, DBUS_TYPE_STRING, &watcher, DBUS_TYPE_STRING, &name,
                             DBUS_TYPE_INVALID);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(asker(), question, patience, nullptr);
    dbus_message_unref(question);
    std::vector<std::string> result;
    if (!reply) {
        return result;
    }
    DBusMessageIter outer;
    DBusMessageIter variant;
    DBusMessageIter array;
    dbus_message_iter_init(reply, &outer);
    dbus_message_iter_recurse(&outer, &variant);
    dbus_message_iter_recurse(&variant, &array);
    for (; dbus_message_iter_get_arg_type(&array) == DBUS_TYPE_STRING; dbus_message_iter_next(&array)) {
        const char* text = nullptr;
        dbus_message_iter_get_basic(&array, &text);
        result.emplace_back(text);
    }
    dbus_message_unref(reply);
    return result;
}

} // namespace Bench
