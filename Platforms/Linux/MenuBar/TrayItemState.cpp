#include "Platforms/Linux/MenuBar/TrayItemState.hpp"

#include "Platforms/Linux/MenuBar/BusNames.hpp"

#include <QDBusArgument>
#include <QDBusObjectPath>

#include <algorithm>
#include <array>
#include <optional>

namespace Linux {

namespace {

constexpr auto pixmapsSignature = "a(iiay)";
constexpr auto toolTipSignature = "(sa(iiay)ss)";

/// A value that the bus has handed over still packed; none unless it is of exactly this signature, so that
/// unpacking it cannot go wrong.
std::optional<QDBusArgument> packed(const QVariant& value, const char* signature) {
    if (value.metaType() != QMetaType::fromType<QDBusArgument>()) {
        return std::nullopt;
    }
    const auto argument = qvariant_cast<QDBusArgument>(value);
    // One that is still being written has no type.
    if (argument.currentType() == QDBusArgument::UnknownType ||
        argument.currentSignature() != QLatin1String(signature)) {
        return std::nullopt;
    }
    return argument;
}

QString text(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QString>()) {
        return value.toString();
    }
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>()) {
        return qvariant_cast<QDBusObjectPath>(value).path();
    }
    return {};
}

/// At most `length` characters, with no half of a pair at the end.
QString cut(const QString& text, qsizetype length = TrayItemState::longestText) {
    if (text.size() <= length) {
        return text;
    }
    return text.first(text[length - 1].isHighSurrogate() ? length - 1 : length);
}

/// A name that means nothing when it is cut.
QString wholeName(const QVariant& value) {
    const QString name = text(value);
    return name.size() <= TrayItemState::longestText ? name : QString();
}

/// For one line of the bar: runs of white space are one space.
QString lineText(const QVariant& value) {
    return cut(cut(text(value)).simplified());
}

QList<IconPixmap> pixmaps(const QVariant& value) {
    const auto argument = packed(value, pixmapsSignature);
    if (!argument) {
        return {};
    }
    QList<IconPixmap> result;
    qsizetype bytes = 0;
    argument->beginArray();
    for (qsizetype count = 0; count < TrayItemState::mostPixmaps && !argument->atEnd(); ++count) {
        IconPixmap pixmap;
        *argument >> pixmap;
        if (isWhole(pixmap) && bytes + pixmap.bytes.size() <= TrayItemState::largestPicture) {
            bytes += pixmap.bytes.size();
            result.append(std::move(pixmap));
        }
    }
    argument->endArray();
    return result;
}

QString toolTipText(const QString& title, const QString& text) {
    const QString first = plainText(title);
    const QString second = plainText(text);
    if (first.isEmpty() || second.isEmpty() || first == second) {
        return first.isEmpty() ? second : first;
    }
    return cut(first + QLatin1Char('\n') + second);
}

QString toolTip(const QVariant& value) {
    const auto argument = packed(value, toolTipSignature);
    if (!argument) {
        return plainText(text(value));
    }
    QString icon;
    QString title;
    QString body;
    argument->beginStructure();
    *argument >> icon;
    argument->beginArray(); // its pictures are passed over
    argument->endArray();
    *argument >> title >> body;
    argument->endStructure();
    return toolTipText(title, body);
}

TrayItemStatus status(const QString& word) {
    if (word == QLatin1String("Passive")) {
        return TrayItemStatus::passive;
    }
    return word == QLatin1String("NeedsAttention") ? TrayItemStatus::needsAttention : TrayItemStatus::active;
}

QString menuPath(const QVariant& value) {
    const QString path = text(value);
    // What programs without a menu say.
    const bool isNone = path == QLatin1String("/") || path == QLatin1String("/NO_DBUSMENU");
    return !isNone && isObjectPath(path) ? path : QString();
}

bool isAnyOf(QStringView name, std::initializer_list<QLatin1String> names) {
    return std::ranges::any_of(
        names, [&](QLatin1String each) { return name.compare(each, Qt::CaseInsensitive) == 0; });
}

/// The name of a tag, with "/" in front where it closes: "br" of "<br />", "/p" of "</p>".
QStringView tagName(QStringView tag) {
    const auto isNamePart = [](QChar character) {
        return character.isLetterOrNumber() || character == QLatin1Char('/');
    };
    qsizetype end = tag.startsWith(QLatin1Char('/')) ? 1 : 0;
    while (end < tag.size() && tag[end] != QLatin1Char('/') && isNamePart(tag[end])) {
        ++end;
    }
    return tag.first(end);
}

bool startsTag(QStringView marked, qsizetype at) {
    if (marked[at] != QLatin1Char('<') || at + 1 == marked.size()) {
        return false;
    }
    const QChar next = marked[at + 1];
    return next.isLetter() || next == QLatin1Char('/') || next == QLatin1Char('!') ||
           next == QLatin1Char('?');
}

/// The character an entity stands for ("amp", "#39", "#x27"); 0 where it stands for none.
char32_t entityCharacter(QStringView name) {
    struct Row {
        const char* name;
        char32_t character;
    };
    static constexpr std::array rows{Row{"lt", U'<'},   Row{"gt", U'>'},    Row{"amp", U'&'},
                                     Row{"quot", U'"'}, Row{"apos", U'\''}, Row{"nbsp", U' '}};
    for (const Row& row : rows) {
        if (name == QLatin1String(row.name)) {
            return row.character;
        }
    }
    if (!name.startsWith(QLatin1Char('#'))) {
        return 0;
    }
    const bool isHexadecimal = name.sliced(1).startsWith(QLatin1Char('x'), Qt::CaseInsensitive);
    bool isNumber = false;
    const char32_t code =
        isHexadecimal ? name.sliced(2).toUInt(&isNumber, 16) : name.sliced(1).toUInt(&isNumber, 10);
    return isNumber && code <= QChar::LastValidCodePoint && !QChar::isSurrogate(code) ? code : 0;
}

/// Collects text: blank lines and spaces beside others go.
class PlainText {
public:
    void add(char32_t character) {
        if (character == U'\n' || character == QChar::ParagraphSeparator ||
            character == QChar::LineSeparator) {
            gap_ = u'\n';
        } else if (QChar::isSpace(character)) {
            gap_ = gap_ == 0 ? u' ' : gap_;
        } else if (QChar::category(character) != QChar::Other_Control) {
            if (gap_ != 0 && !text_.isEmpty()) {
                text_ += QChar(gap_);
            }
            gap_ = 0;
            text_ += QChar::fromUcs4(character);
        }
    }
    bool isFull() const { return text_.size() >= TrayItemState::longestText; }
    QString text() const { return cut(text_); }

private:
    QString text_;
    char16_t gap_ = 0; // white space that counts only if text follows
};

} // namespace

const TrayPicture& TrayItemState::picture() const {
    return status == TrayItemStatus::needsAttention && !attentionIcon.isEmpty() ? attentionIcon : icon;
}

QString TrayItemState::spokenName() const {
    if (!toolTip.isEmpty()) {
        return toolTip;
    }
    return title.isEmpty() ? id : title;
}

TrayItemState trayItemState(const QVariantMap& properties) {
    const auto value = [&](const char* name) { return properties.value(QLatin1String(name)); };
    const QString themePath = wholeName(value("IconThemePath"));
    const QVariant itemIsMenu = value("ItemIsMenu");
    return {
        .id = cut(text(value("Id"))),
        .title = lineText(value("Title")),
        .status = status(text(value("Status"))),
        .icon = {wholeName(value("IconName")), pixmaps(value("IconPixmap"))},
        .attentionIcon = {wholeName(value("AttentionIconName")), pixmaps(value("AttentionIconPixmap"))},
        .overlayIcon = {wholeName(value("OverlayIconName")), pixmaps(value("OverlayIconPixmap"))},
        .iconThemePath = themePath.startsWith(QLatin1Char('/')) ? themePath : QString(),
        .toolTip = toolTip(value("ToolTip")),
        .label = lineText(value("XAyatanaLabel")),
        .menuPath = menuPath(value("Menu")),
        .itemIsMenu = itemIsMenu.metaType() == QMetaType::fromType<bool>() && itemIsMenu.toBool(),
    };
}

QString plainText(const QString& marked) {
    constexpr qsizetype longestEntity = 10; // characters between "&" and ";"
    // Enough for the longest text in generous markup; what stands after it is not looked at.
    const QStringView source =
        QStringView(marked).first(std::min(marked.size(), 16 * TrayItemState::longestText));
    PlainText plain;
    QStringView closing; // of the element whose contents are no text, being passed over
    qsizetype at = 0;
    bool mayHaveTags = true;
    while (at < source.size() && !plain.isFull()) {
        if (mayHaveTags && startsTag(source, at)) {
            const qsizetype end = source.indexOf(QLatin1Char('>'), at);
            mayHaveTags = end >= 0; // looked for once only
            if (mayHaveTags) {
                const QStringView name = tagName(source.sliced(at + 1, end - at - 1));
                if (!closing.isEmpty()) {
                    const bool closes =
                        name.size() == closing.size() + 1 && name.endsWith(closing, Qt::CaseInsensitive);
                    closing = closes ? QStringView() : closing;
                } else if (isAnyOf(name, {QLatin1String("head"), QLatin1String("style"),
                                          QLatin1String("script")})) {
                    closing = name;
                } else if (isAnyOf(name, {QLatin1String("br"), QLatin1String("p"), QLatin1String("/p"),
                                          QLatin1String("div"), QLatin1String("/div"), QLatin1String("li"),
                                          QLatin1String("tr"), QLatin1String("hr")})) {
                    plain.add(U'\n');
                }
                at = end + 1;
                continue;
            }
        }
        if (!closing.isEmpty()) {
            ++at;
            continue;
        }
        if (source[at] == QLatin1Char('&')) {
            const QStringView ahead = source.sliced(at + 1, std::min(longestEntity, source.size() - at - 1));
            const qsizetype length = ahead.indexOf(QLatin1Char(';'));
            const char32_t character = length > 0 ? entityCharacter(ahead.first(length)) : 0;
            if (character != 0) {
                plain.add(character);
                at += length + 2;
                continue;
            }
        }
        if (source[at].isHighSurrogate() && at + 1 < source.size() && source[at + 1].isLowSurrogate()) {
            plain.add(QChar::surrogateToUcs4(source[at], source[at + 1]));
            at += 2;
            continue;
        }
        plain.add(source[at].isSurrogate() ? QChar(QChar::ReplacementCharacter).unicode()
                                           : source[at].unicode());
        ++at;
    }
    return plain.text();
}

} // namespace Linux
