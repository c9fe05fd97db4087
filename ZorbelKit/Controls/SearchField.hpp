#pragma once

#include "ZorbelKit/Controls/Glide.hpp"

#include <QWidget>

#include <functional>

class QLineEdit;

namespace ZorbelKit {

class SymbolButton;

/// A rounded field to type into, with a symbol before the text and a button behind it that clears it. Escape
/// clears it too; an empty field leaves Escape to the window.
class SearchField : public QWidget {
public:
    SearchField(const QString& placeholder, const QString& symbol, QWidget* parent = nullptr);

    QString text() const;

    /// Writes the model back. Tells nobody; an equal text leaves the cursor where it is.
    void setText(const QString& text);

    /// Goes on with what was typed elsewhere: takes the keyboard and puts `text` at the cursor.
    void type(const QString& text);

    /// `changed` hears of the user's own changes only.
    void onChange(std::function<void(const QString& text)> changed);

    /// Down was pressed.
    void onDown(std::function<void()> left);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void clear();
    void showState();

    QString symbol_;
    QLineEdit* edit_;
    SymbolButton* clear_;
    std::function<void(const QString&)> changed_;
    std::function<void()> down_;
    Glide focus_; // 1 while it has the keyboard
};

} // namespace ZorbelKit
