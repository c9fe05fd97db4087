#pragma once

#include "Fotrel/Capture.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"

#include <QPixmap>
#include <QTextDocument>
#include <QTimer>
#include <QWidget>

#include <vector>

class QLabel;
class QTextEdit;

namespace ZorbelKit {
class ScrollPill;
class SteepDot;
class Symbol;
class SymbolButton;
} // namespace ZorbelKit

namespace Fotrel {

class FotrelSpice;

/// A compact text button. A check mark in place of its text says for a moment that it is done.
class SmallButton final : public ZorbelKit::HoverButton {
public:
    static constexpr ZorbelKit::Seconds signTime{1.2}; // how long the check mark stays

    SmallButton(const QString& text, QWidget* parent);

    void setLabel(const QString& text);
    void showSign(const QString& spoken); // what readers are told meanwhile
    bool isSigning() const { return signEnd_.isActive(); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void endSign();

    ZorbelKit::Glide sign_; // 0 the text, 1 the check mark
    QTimer signEnd_;
};

/// All of a picture, as large as fits and no larger than it is. A thin edge keeps it apart from the ground.
class Thumbnail final : public QWidget {
public:
    static constexpr int mostWidth = 144; // points
    static constexpr int mostHeight = 90;

    Thumbnail(const ZorbelKit::Picture& picture, QWidget* parent);

    /// The same pixels, held in another way: the first one is let go, and nothing is drawn anew.
    void setPicture(const ZorbelKit::Picture& picture) { picture_ = picture; }
    const ZorbelKit::Picture& picture() const { return picture_; }

    QSize sizeHint() const override { return {mostWidth, mostHeight}; }

    /// Draws a picture as it is shown at this scale, in device pixels per point.
    static QPixmap draw(const ZorbelKit::Picture& picture, double scale);

    /// How often it was drawn anew: once, and again on a screen with another scale.
    int drawings() const { return drawings_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ZorbelKit::Picture picture_;
    QPixmap drawn_;
    int drawings_ = 0;
};

/// A plain text to read and to select, as high as it is up to `mostHeight`; what is longer scrolls.
class TextBox final : public QWidget {
public:
    static constexpr int mostHeight = 220; // points

    struct Look {
        ZorbelKit::Color ground;
        ZorbelKit::Color border;
    };

    TextBox(const Look& look, QWidget* parent);

    void setText(const QString& text); // an equal one leaves what is selected
    void setName(const QString& name); // for readers

    QTextEdit& edit() { return *edit_; }
    const QTextEdit& edit() const { return *edit_; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {1, 1}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    const Look look_;
    QTextEdit* edit_;
    ZorbelKit::ScrollPill* pill_;
    QString shown_;
    mutable QTextDocument start_; // as much of the text as decides about the height
    bool showsFocus_ = false;
};

/// One capture: its picture, what is known of its text, and what can be done with both.
class CaptureRow final : public QWidget {
public:
    CaptureRow(const Capture& capture, FotrelSpice& spice, QWidget* parent);

    /// The same capture, which may have changed. What has not is left alone.
    void bind(const Capture& capture);

    const Capture& capture() const { return capture_; }
    bool isShowingText() const { return showingText_; }

    /// What can have the keyboard, in reading order.
    std::vector<QWidget*> controls() const;

    ZorbelKit::SymbolButton& forgetButton() { return *forget_; }

private:
    void write();
    void copyImage();
    void copyText();
    void toggleText();
    void save();
    void forget();

    Capture capture_;
    FotrelSpice& spice_;
    bool showingText_ = false;
    Thumbnail* thumbnail_;
    ZorbelKit::SteepDot* reading_;
    ZorbelKit::Symbol* mark_;
    QLabel* status_;
    QLabel* detail_;
    SmallButton* copyImage_;
    SmallButton* copyText_;
    SmallButton* showText_;
    SmallButton* save_;
    ZorbelKit::SymbolButton* forget_;
    QWidget* body_;
    TextBox* text_ = nullptr; // none until it was first shown
};

} // namespace Fotrel
