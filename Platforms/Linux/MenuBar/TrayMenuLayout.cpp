#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QMetaType>
#include <QStringList>

#include <cstddef>
#include <deque>
#include <utility>

namespace Linux {

namespace {

constexpr auto entrySignature = "(ia{sv}av)";
constexpr auto changesSignature = "a(ia{sv})";
constexpr auto removalsSignature = "a(ias)";
constexpr auto shortcutsSignature = "aas";

constexpr int mostProperties = 64; // of one entry; the protocol knows a dozen
constexpr qsizetype longestIconName = 255;
constexpr qsizetype longestShortcutKey = 20;
constexpr qsizetype mostShortcutKeys = 6;

/// The bus library ends the program that reads a value as another type than it has: every reader below looks
/// at the signature first, which also settles the types within, up to the next variant.
bool reads(const QDBusArgument& argument, QDBusArgument::ElementType type, const char* signature) {
    return argument.currentType() == type && argument.currentSignature() == QLatin1String(signature);
}

QDBusArgument argumentOf(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QDBusArgument>() ? value.value<QDBusArgument>()
                                                                    : QDBusArgument();
}

QString textOf(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QString>() ? value.toString() : QString();
}

bool truthOf(const QVariant& value, bool otherwise) {
    return value.metaType() == QMetaType::fromType<bool>() ? value.toBool() : otherwise;
}

/// On one line: what would break it or ring a terminal's bell becomes a space.
QString oneLine(QString text) {
    for (QChar& character : text) {
        const auto category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph) {
            character = ' ';
        }
    }
    return text;
}

/// The first `length` characters, and not half of a pair.
QString cut(const QString& text, qsizetype length) {
    if (text.size() <= length) {
        return text;
    }
    return text.left(text.at(length - 1).isHighSurrogate() ? length - 1 : length);
}

QString keyName(const QString& key) {
    constexpr std::pair<const char*, const char*> names[] = {
        {"Control", "Ctrl"}, {"Primary", "Ctrl"}, {"plus", "+"}, {"minus", "-"}};
    for (const auto& [theirs, ours] : names) {
        if (key == QLatin1String(theirs)) {
            return ours;
        }
    }
    QString name = oneLine(cut(key, longestShortcutKey)).replace('_', ' ');
    return name.size() == 1 ? name.toUpper() : name;
}

/// The first of an entry's shortcuts, each of them a list of keys.
QString shortcutOf(const QVariant& value) {
    const QDBusArgument shortcuts = argumentOf(value);
    if (!reads(shortcuts, QDBusArgument::ArrayType, shortcutsSignature)) {
        return {};
    }
    QStringList keys;
    shortcuts.beginArray();
    if (!shortcuts.atEnd()) {
        shortcuts >> keys;
    }
    shortcuts.endArray();
    QStringList names;
    for (const QString& key : std::as_const(keys).first(std::min(keys.size(), mostShortcutKeys))) {
        names << keyName(key);
    }
    return names.join('+');
}

TrayMenuEntry::Toggle toggleOf(const QVariant& value) {
    const QString type = textOf(value);
    if (type == QLatin1String("checkmark")) {
        return TrayMenuEntry::Toggle::checkmark;
    }
    return type == QLatin1String("radio") ? TrayMenuEntry::Toggle::radio : TrayMenuEntry::Toggle::none;
}

/// A name for the theme to look up; a path would make us open whatever lies there.
QString iconNameOf(const QVariant& value) {
    const QString name = textOf(value);
    return name.size() > longestIconName || name.contains('/') ? QString() : name;
}

QByteArray iconDataOf(const QVariant& value) {
    if (value.metaType() != QMetaType::fromType<QByteArray>()) {
        return {};
    }
    const QByteArray data = value.toByteArray();
    return data.size() <= largestTrayMenuIcon ? data : QByteArray();
}

void apply(TrayMenuEntry& entry, const QString& name, const QVariant& value) {
    if (name == QLatin1String("type")) {
        entry.isSeparator = textOf(value) == QLatin1String("separator");
    } else if (name == QLatin1String("label")) {
        entry.label = trayMenuLabel(textOf(value));
    } else if (name == QLatin1String("enabled")) {
        entry.isEnabled = truthOf(value, true);
    } else if (name == QLatin1String("visible")) {
        entry.isVisible = truthOf(value, true);
    } else if (name == QLatin1String("icon-name")) {
        entry.iconName = iconNameOf(value);
    } else if (name == QLatin1String("icon-data")) {
        entry.iconData = iconDataOf(value);
    } else if (name == QLatin1String("toggle-type")) {
        entry.toggle = toggleOf(value);
    } else if (name == QLatin1String("toggle-state")) {
        entry.isChecked = value.metaType() == QMetaType::fromType<int>() && value.toInt() == 1;
    } else if (name == QLatin1String("children-display")) {
        entry.hasSubmenu = textOf(value) == QLatin1String("submenu") || !entry.children.empty();
    } else if (name == QLatin1String("shortcut")) {
        entry.shortcut = shortcutOf(value);
    }
}

/// Reads an `a{sv}` whose signature is known.
QVariantMap readProperties(const QDBusArgument& argument) {
    QVariantMap properties;
    argument.beginMap();
    for (int count = 0; count < mostProperties && !argument.atEnd(); ++count) {
        QString name;
        QDBusVariant value;
        argument.beginMapEntry();
        argument >> name >> value;
        argument.endMapEntry();
        properties.insert(name, value.variant());
    }
    argument.endMap();
    return properties;
}

/// An entry on its way: read up to its children. What was begun must be ended, or the toolkit loses memory.
struct OpenEntry {
    /// `argument` stands at a whole entry; `level` is 0 for the answer's own.
    OpenEntry(const QDBusArgument& at, int level)
        : argument(at)
        , depth(level) {
        int id = 0;
        argument.beginStructure();
        argument >> id;
        entry = trayMenuEntry(id, readProperties(argument));
    }
    OpenEntry(const OpenEntry&) = delete;
    OpenEntry& operator=(const OpenEntry&) = delete;
    ~OpenEntry() { argument.endStructure(); }

    const QDBusArgument argument; // constant ones are read, others written
    const int depth;
    TrayMenuEntry entry;            // until it has its place
    TrayMenuEntry* place = nullptr; // among its siblings
};

} // namespace

QString trayMenuLabel(const QString& label) {
    const QString text = oneLine(cut(label, longestTrayMenuLabel));
    QString result;
    bool hasAccessKey = false;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar character = text.at(index);
        const QChar next = index + 1 < text.size() ? text.at(index + 1) : QChar();
        if (character == '&') {
            result += QLatin1String("&&");
        } else if (character != '_') {
            result += character;
        } else if (next == '_') {
            result += '_';
            ++index;
        } else if (!hasAccessKey && next.isLetterOrNumber()) {
            result += '&';
            hasAccessKey = true;
        } // any other single underscore marks nothing and is not shown
    }
    return result;
}

TrayMenuEntry trayMenuEntry(int id, const QVariantMap& properties) {
    TrayMenuEntry entry;
    entry.id = id;
    applyTrayMenuChange(entry, properties);
    return entry;
}

void applyTrayMenuChange(TrayMenuEntry& entry, const QVariantMap& properties) {
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        apply(entry, property.key(), property.value());
    }
}

TrayMenuEntry trayMenuLayout(const QDBusArgument& layout, int deepest, int most) {
    // Reading moves a place in the argument, and a copy has one of its own.
    const QDBusArgument answer = layout; // NOLINT(performance-unnecessary-copy-initialization)
    if (!reads(answer, QDBusArgument::StructureType, entrySignature)) {
        return {};
    }
    TrayMenuEntry root;
    // Level by level: one overlong submenu must not cost the menu its last entries, and nothing recurses.
    std::deque<OpenEntry> unread;
    root = std::move(unread.emplace_back(answer, 0).entry);
    unread.back().place = &root;
    for (; !unread.empty() && unread.front().depth < deepest && most > 0; unread.pop_front()) {
        const OpenEntry& parent = unread.front();
        std::vector<TrayMenuEntry>& entries = parent.place->children;
        parent.argument.beginArray();
        for (; most > 0 && !parent.argument.atEnd(); --most) {
            QDBusVariant child;
            parent.argument >> child;
            const QDBusArgument argument = argumentOf(child.variant());
            if (reads(argument, QDBusArgument::StructureType, entrySignature)) {
                entries.push_back(std::move(unread.emplace_back(argument, parent.depth + 1).entry));
            }
        }
        parent.argument.endArray();
        parent.place->hasSubmenu = parent.place->hasSubmenu || !entries.empty();
        const std::size_t first = unread.size() - entries.size();
        for (std::size_t index = 0; index < entries.size(); ++index) {
            unread[first + index].place = &entries[index];
        }
    }
    return root;
}

std::vector<TrayMenuChange> trayMenuChanges(const QVariantList& arguments) {
    std::vector<TrayMenuChange> changes;
    const QDBusArgument changed = argumentOf(arguments.value(0));
    if (reads(changed, QDBusArgument::ArrayType, changesSignature)) {
        changed.beginArray();
        for (int count = 0; count < mostTrayMenuEntries && !changed.atEnd(); ++count) {
            TrayMenuChange change;
            changed.beginStructure();
            changed >> change.id;
            change.properties = readProperties(changed);
            changed.endStructure();
            changes.push_back(std::move(change));
        }
        changed.endArray();
    }
    const QDBusArgument removed = argumentOf(arguments.value(1));
    if (reads(removed, QDBusArgument::ArrayType, removalsSignature)) {
        removed.beginArray();
        for (int count = 0; count < mostTrayMenuEntries && !removed.atEnd(); ++count) {
            TrayMenuChange change;
            QStringList names;
            removed.beginStructure();
            removed >> change.id >> names;
            removed.endStructure();
            for (const QString& name :
                 std::as_const(names).first(std::min<qsizetype>(names.size(), mostProperties))) {
                change.properties.insert(name, {});
            }
            changes.push_back(std::move(change));
        }
        removed.endArray();
    }
    return changes;
}

} // namespace Linux
