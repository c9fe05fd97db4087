#pragma once

#include <QString>
#include <QWidget>

namespace ZorbelKit {

class Reading;

/// A label over a figure, for the menu panel.
class MenuStat : public QWidget {
public:
    MenuStat(const QString& label, QWidget* parent);
    void setValue(const QString& value);

private:
    QString label_;
    Reading* value_;
};

} // namespace ZorbelKit
