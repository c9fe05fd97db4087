// A tray for the measured programs: StatusNotifier watcher and host in one, without a picture of its own. It
// reads every item as a panel would, and prints, with CLOCK_MONOTONIC in nanoseconds,
//
//   ready                  the tray is there
//   registered TIME        an item has come
//   picture TIME           an item has changed its picture
//
// It links no Qt: libraries that it mapped too would make those of the measured program look cheaper.

#include <time.h>

#include <cstdio>
#include <cstring>
#include <dbus/dbus.h>
#include <string>

namespace {

constexpr auto watcher = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr auto item = "org.kde.StatusNotifierItem";
constexpr auto standardItemPath = "/StatusNotifierItem";
constexpr auto properties = "org.freedesktop.DBus.Properties";

constexpr auto description = R"xml(<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>)xml";

void tell(const char* event) {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    std::printf("%s %lld%09ld\n", event, static_cast<long long>(time.tv_sec), time.tv_nsec);
    std::fflush(stdout);
}

class TrayHost {
public:
    explicit TrayHost(DBusConnection* bus)
        : bus_(bus) {}

    void handle(DBusMessage* message) {
        if (dbus_message_is_method_call(message, watcher, "RegisterStatusNotifierItem")) {
            tell("registered");
            registerItem(message);
        } else if (dbus_message_is_method_call(message, properties, "Get")) {
            answerProperty(message);
        } else if (dbus_message_is_method_call(message, "org.freedesktop.DBus.Introspectable",
                                               "Introspect")) {
            DBusMessage* reply = dbus_message_new_method_return(message);
            dbus_message_append_args(reply, DBUS_TYPE_STRING, &description, DBUS_TYPE_INVALID);
            send(reply);
        } else if (dbus_message_is_signal(message, item, "NewIcon")) {
            tell("picture");
            readItem(dbus_message_get_sender(message), dbus_message_get_path(message));
        } else if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
            send(dbus_message_new_error(message, DBUS_ERROR_UNKNOWN_METHOD, "The tray has no such method"));
        }
    }

private:
    /// The argument is the path of the item, or the name of its connection.
    void registerItem(DBusMessage* message) {
        const char* argument = nullptr;
        if (!dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID)) {
            send(dbus_message_new_error(message, DBUS_ERROR_INVALID_ARGS, "Which item?"));
            return;
        }
        send(dbus_message_new_method_return(message));
        const std::string sender = dbus_message_get_sender(message);
        const std::string path = *argument == '/' ? argument : standardItemPath;
        const std::string name = sender + path;
        const char* nameText = name.c_str();
        DBusMessage* news = dbus_message_new_signal(watcherPath, watcher, "StatusNotifierItemRegistered");
        dbus_message_append_args(news, DBUS_TYPE_STRING, &nameText, DBUS_TYPE_INVALID);
        send(news);
        readItem(sender.c_str(), path.c_str());
    }

    void readItem(const char* owner, const char* path) {
        DBusMessage* question = dbus_message_new_method_call(owner, path, properties, "GetAll");
        dbus_message_append_args(question, DBUS_TYPE_STRING, &item, DBUS_TYPE_INVALID);
        send(question);
    }

    void answerProperty(DBusMessage* message) {
        const char* interface = nullptr;
        const char* name = nullptr;
        const bool isKnown = dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &interface,
                                                   DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID) &&
                             std::strcmp(name, "IsStatusNotifierHostRegistered") == 0;
        if (!isKnown) {
            send(dbus_message_new_error(message, DBUS_ERROR_UNKNOWN_PROPERTY,
                                        "The tray has no such property"));
            return;
        }
        DBusMessage* reply = dbus_message_new_method_return(message);
        const dbus_bool_t isRegistered = TRUE;
        DBusMessageIter outer;
        DBusMessageIter inner;
        dbus_message_iter_init_append(reply, &outer);
        dbus_message_iter_open_container(&outer, DBUS_TYPE_VARIANT, DBUS_TYPE_BOOLEAN_AS_STRING, &inner);
        dbus_message_iter_append_basic(&inner, DBUS_TYPE_BOOLEAN, &isRegistered);
        dbus_message_iter_close_container(&outer, &inner);
        send(reply);
    }

    void send(DBusMessage* message) {
        dbus_connection_send(bus_, message, nullptr);
        dbus_message_unref(message);
    }

    DBusConnection* bus_;
};

} // namespace

int main() {
    DBusConnection* bus = dbus_bus_get(DBUS_BUS_SESSION, nullptr);
    if (!bus || dbus_bus_request_name(bus, watcher, DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr) !=
                    DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
        std::fprintf(stderr, "tray-host: no session bus, or another tray runs on it\n");
        return 1;
    }
    dbus_bus_add_match(bus, "type='signal',interface='org.kde.StatusNotifierItem'", nullptr);
    dbus_connection_flush(bus);
    std::puts("ready");
    std::fflush(stdout);

    TrayHost host(bus);
    while (dbus_connection_read_write(bus, -1)) {
        while (DBusMessage* message = dbus_connection_pop_message(bus)) {
            host.handle(message);
            dbus_message_unref(message);
        }
    }
    return 0;
}
