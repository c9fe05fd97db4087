#include "ZorbelKit/Surfaces/ResourceImage.hpp"

#include <QImageReader>

// The resources of a static library are linked only when asked for, and only outside every namespace.
static void registerResources() {
    Q_INIT_RESOURCE(resources);
}

namespace ZorbelKit {

QImage resourceImage(const QString& name, int side) {
    static const bool registered = (registerResources(), true);
    Q_UNUSED(registered)
    QImageReader reader(QStringLiteral(":/%1.svg").arg(name));
    reader.setScaledSize({side, side});
    const QImage image = reader.read();
    return image.isNull() ? image : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace ZorbelKit
