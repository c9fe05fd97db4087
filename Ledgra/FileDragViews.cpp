#include "Ledgra/FileDragViews.hpp"

#include "Ledgra/FileUrls.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <QDrag>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QWidget>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Ledgra {

namespace utf8 = ZorbelKit::utf8;

namespace {

constexpr const char* listType = "text/uri-list";
constexpr const char* textType = "text/plain;charset=utf-8";

bool isPlainText(const std::string& path) {
    return utf8::repaired(path) == path && utf8::oneLine(path) == path &&
           std::ranges::none_of(path, [](char byte) {
               return utf8::isControl(static_cast<unsigned char>(byte)) && !(byte & '\x80');
           });
}

QByteArray byteArray(std::string_view bytes) {
    return {bytes.data(), static_cast<qsizetype>(bytes.size())};
}

/// The toolkit's own class takes URLs apart and writes them anew, by which names that are no UTF-8 are lost.
class FileDragData final : public QMimeData {
public:
    explicit FileDragData(const std::filesystem::path& file)
        : list_(byteArray(uriList({file})))
        , text_(isPlainText(file.native()) ? byteArray(file.native()) : QByteArray()) {}

    bool hasFormat(const QString& type) const override { return formats().contains(type); }

    QStringList formats() const override {
        return text_.isEmpty() ? QStringList{listType} : QStringList{listType, textType};
    }

protected:
    QVariant retrieveData(const QString& type, QMetaType /*preferred*/) const override {
        if (type == QLatin1String(listType)) {
            return list_;
        }
        return type == QLatin1String(textType) && !text_.isEmpty() ? QVariant(text_) : QVariant();
    }

private:
    const QByteArray list_;
    const QByteArray text_; // empty: not offered
};

std::function<void(QDrag& drag)>& runner() {
    static std::function<void(QDrag & drag)> run = [](QDrag& drag) {
        drag.exec(Qt::CopyAction, Qt::CopyAction);
    };
    return run;
}

void drag(QWidget& window, const std::filesystem::path& file, const QPixmap& picture) {
    if (!(QGuiApplication::mouseButtons() & Qt::LeftButton)) {
        return;
    }
    // The toolkit deletes it once the other program has all it wanted, which is later than the end of `exec`.
    auto* drag = new QDrag(&window);
    drag->setMimeData(FileDrag::data(file).release());
    drag->setPixmap(picture);
    drag->setHotSpot(QRectF(QPointF(), picture.deviceIndependentSize()).center().toPoint());
    runner()(*drag);
}

} // namespace

std::unique_ptr<QMimeData> FileDrag::data(const std::filesystem::path& file) {
    return std::make_unique<FileDragData>(file);
}

void FileDrag::begin(QWidget& from, const std::filesystem::path& file, const QPixmap& picture) {
    QWidget* window = from.window();
    QMetaObject::invokeMethod(
        window, [window, file, picture] { drag(*window, file, picture); }, Qt::QueuedConnection);
}

std::function<void(QDrag& drag)> FileDrag::setRunnerForTesting(std::function<void(QDrag& drag)> run) {
    return std::exchange(runner(), std::move(run));
}

bool FileDrag::isOwn(const QDropEvent& event) {
    return event.source() != nullptr;
}

} // namespace Ledgra
