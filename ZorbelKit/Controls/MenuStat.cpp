#include "ZorbelKit/Controls/MenuStat.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"

#include <QVBoxLayout>

namespace ZorbelKit {

MenuStat::MenuStat(const QString& label, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , value_(addLabelled(this, label, 20, 1)) {
}

void MenuStat::setValue(const QString& value) {
    writeLabelled(*value_, label_, value);
}

} // namespace ZorbelKit
