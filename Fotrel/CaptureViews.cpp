#include "Fotrel/CaptureViews.hpp"

#include "Fotrel/Fotrel.hpp"
#include "Fotrel/FotrelTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/ScrollPill.hpp"
#include "ZorbelKit/Controls/SteepDot.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextEdit>
#include <QTextFrame>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace Fotrel {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int cardPadding = 12;
constexpr int pictureGap = 12;
constexpr int lineGap = 3;
constexpr int leadGap = 6;
constexpr int leadWidth = 14; // of what begins the status line
constexpr int buttonGap = 6;
constexpr int textGap = 12;
constexpr double readingDot = 6;

constexpr double buttonText = 11;
constexpr int buttonPaddingX = 9;
constexpr int buttonHeight = 26;
constexpr double buttonRadius = 6;
constexpr double signSize = 13;
constexpr double disabledOpacity = 0.45;

constexpr double wellRadius = 6;
constexpr double edgeOpacity = 0.28;
constexpr double wellShare = 0.85;  // a picture that leaves more of the room empty lies in a well
constexpr double leastRounded = 12; // smaller pictures keep their corners and have no edge
constexpr double nothingSymbol = 24;

constexpr double textPadding = 10;
constexpr double textBottom = 6; // the last line has air of its own below it
constexpr double textRadius = 6;
constexpr int textBorder = 1;
constexpr double lineHeight = 118; // percent of the font's own

/// More letters than can stand in a box before it scrolls.
constexpr qsizetype decidingLetters = 6000;

/// Null where there is nothing to see. Shares the pixels.
QImage imageOf(const Pixels& pixels) {
    const auto count = static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
    if (count == 0 || pixels.argb.size() != count) {
        return {};
    }
    return {reinterpret_cast<const uchar*>(pixels.argb.data()), pixels.width, pixels.height, pixels.width * 4,
            QImage::Format_ARGB32};
}

/// The text as it is shown: with some air between the lines.
void write(QTextDocument& document, const QString& text) {
    document.setPlainText(text);
    QTextBlockFormat format;
    format.setLineHeight(lineHeight, QTextBlockFormat::ProportionalHeight);
    QTextCursor cursor(&document);
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(format);
    QTextFrameFormat frame = document.rootFrame()->frameFormat();
    frame.setMargin(textPadding);
    frame.setBottomMargin(textBottom);
    document.rootFrame()->setFrameFormat(frame);
}

/// So large that all of it fits into the room, in device pixels; never larger than it is.
QSize fitting(const Picture& picture, const QSize& room) {
    const double share = std::min({1.0, static_cast<double>(room.width()) / picture.width(),
                                   static_cast<double>(room.height()) / picture.height()});
    return {std::max(static_cast<int>(std::lround(picture.width() * share)), 1),
            std::max(static_cast<int>(std::lround(picture.height() * share)), 1)};
}

} // namespace

SmallButton::SmallButton(const QString& text, QWidget* parent)
    : HoverButton(parent)
    , sign_(*this) {
    setText(text);
    setFont(interfaceFont(buttonText, QFont::Medium));
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Button, text);
    signEnd_.setSingleShot(true);
    signEnd_.setInterval(milliseconds(signTime));
    connect(&signEnd_, &QTimer::timeout, this, [this] { endSign(); });
}

void SmallButton::setLabel(const QString& text) {
    setText(text);
    setAccessibleText(*this, text);
}

void SmallButton::showSign(const QString& spoken) {
    setAccessibleDescription(spoken);
    sign_.to(1, Pour::settle(Pour::sip));
    signEnd_.start();
}

void SmallButton::endSign() {
    setAccessibleDescription("");
    sign_.to(0, Pour::settle(Pour::pour));
}

QSize SmallButton::sizeHint() const {
    const double width = QFontMetricsF(font()).horizontalAdvance(text());
    return {static_cast<int>(std::ceil(width)) + 2 * buttonPaddingX, buttonHeight};
}

void SmallButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double opacity = isEnabled() ? 1 : disabledOpacity;
    painter.setOpacity(opacity);
    painter.setPen(qColor(rim));
    painter.setBrush(qColor(isDown() ? stall : kettleHi.mixedWith(kettlePeak, hover())));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), buttonRadius, buttonRadius);
    painter.setOpacity(opacity * (1 - sign_.value()));
    painter.setPen(qColor(malai));
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextHideMnemonic, text());
    painter.setOpacity(opacity * sign_.value());
    paintSymbol(painter, "checkmark", QRectF(rect()).center(), signSize, spiceColour("fotrel"));
    painter.setOpacity(1);
    if (showsFocus()) {
        paintFocusRing(painter, rect(), buttonRadius);
    }
}

Thumbnail::Thumbnail(const Picture& picture, QWidget* parent)
    : QWidget(parent)
    , picture_(picture) {
    setFixedSize(sizeHint());
}

QPixmap Thumbnail::draw(const Picture& picture, double scale) {
    const QSize room(static_cast<int>(std::lround(mostWidth * scale)),
                     static_cast<int>(std::lround(mostHeight * scale)));
    QImage canvas(room, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const QImage preview = imageOf(picture.preview());
        const QSize size = preview.isNull() ? QSize() : fitting(picture, room);
        const double radius = wellRadius * scale;
        if (size.width() < wellShare * room.width() || size.height() < wellShare * room.height()) {
            painter.setBrush(qColor(stall));
            painter.drawRoundedRect(canvas.rect(), radius, radius);
        }
        if (preview.isNull()) {
            paintSymbol(painter, "photo", QRectF(canvas.rect()).center(), nothingSymbol * scale, malaiFaint);
        } else {
            const QPoint corner((room.width() - size.width()) / 2, (room.height() - size.height()) / 2);
            const QRectF place(corner, size);
            const bool isRounded = std::min(size.width(), size.height()) >= leastRounded * scale;
            const double rounding = isRounded ? radius : 0;
            QBrush paint(preview.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
            paint.setTransform(QTransform::fromTranslate(corner.x(), corner.y()));
            painter.setBrush(paint);
            painter.drawRoundedRect(place, rounding, rounding);
            if (isRounded) {
                const double half = std::max(std::floor(scale), 1.0) / 2;
                painter.setBrush(Qt::NoBrush);
                painter.setPen(QPen(qColor(malai.withOpacity(edgeOpacity)), 2 * half));
                painter.drawRoundedRect(place.adjusted(half, half, -half, -half), radius - half,
                                        radius - half);
            }
        }
    }
    canvas.setDevicePixelRatio(scale);
    return QPixmap::fromImage(std::move(canvas));
}

void Thumbnail::paintEvent(QPaintEvent*) {
    const double scale = devicePixelRatioF();
    if (drawn_.isNull() || drawn_.devicePixelRatio() != scale) {
        drawn_ = draw(picture_, scale);
        ++drawings_;
    }
    // On whole device pixels, where it was drawn.
    QPainter painter(this);
    const QTransform toDevice = painter.deviceTransform();
    const QPointF corner = toDevice.map(QPointF());
    painter.drawPixmap(toDevice.inverted().map(QPointF(corner.toPoint())), drawn_);
}

TextBox::TextBox(const Look& look, QWidget* parent)
    : QWidget(parent)
    , look_(look)
    , edit_(new QTextEdit(this))
    , pill_(new ScrollPill(*edit_->verticalScrollBar(), this)) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    const QFont font = styleFont(TextStyle::callout);
    edit_->setFrameShape(QFrame::NoFrame);
    edit_->setFont(font);
    edit_->setReadOnly(true);
    edit_->setAcceptRichText(false);
    edit_->setTabChangesFocus(true);
    edit_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    edit_->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    edit_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    edit_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QPalette colours = edit_->palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    edit_->setPalette(colours);
    edit_->document()->setUndoRedoEnabled(false);
    edit_->installEventFilter(this);

    start_.setDefaultFont(font);
    start_.setUndoRedoEnabled(false);
    start_.setDefaultTextOption(edit_->document()->defaultTextOption());
}

void TextBox::setText(const QString& text) {
    if (shown_ == text) {
        return;
    }
    shown_ = text;
    Fotrel::write(*edit_->document(), text);
    edit_->setTextCursor(QTextCursor(edit_->document())); // at the start, which is what is in sight
    Fotrel::write(start_, text.left(decidingLetters));
    updateGeometry();
}

void TextBox::setName(const QString& name) {
    setAccessibleText(*edit_, name);
}

QSize TextBox::sizeHint() const {
    constexpr int width = 320;
    return {width, heightForWidth(width)};
}

int TextBox::heightForWidth(int width) const {
    start_.setTextWidth(std::max(width - 2 * textBorder, 1));
    return std::min(static_cast<int>(std::ceil(start_.size().height())) + 2 * textBorder, mostHeight);
}

void TextBox::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    edit_->setGeometry(rect().adjusted(textBorder, textBorder, -textBorder, -textBorder));
    pill_->place();
}

void TextBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(qColor(look_.border));
    painter.setBrush(qColor(look_.ground));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), textRadius, textRadius);
    if (showsFocus_) {
        paintFocusRing(painter, rect(), textRadius);
    }
}

bool TextBox::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<const QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason) {
            showsFocus_ = event->type() == QEvent::FocusIn &&
                          (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason);
            update();
        }
    }
    return QWidget::eventFilter(watched, event);
}

CaptureRow::CaptureRow(const Capture& capture, FotrelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , capture_(capture)
    , spice_(spice) {
    auto* content = new QWidget;
    thumbnail_ = new Thumbnail(capture.image, content);
    body_ = content;
    reading_ = new SteepDot(spice.accent(), true, readingDot, content);
    setAccessibleText(*reading_, "Reading");
    mark_ = new Symbol("text.alignleft", leadWidth, malaiDim, content);
    status_ = makeText("", interfaceFont(12, QFont::Medium), malai, content);
    detail_ = makeText("", interfaceFont(11), malaiDim, content);
    copyImage_ = new SmallButton("Copy image", content);
    copyText_ = new SmallButton("Copy text", content);
    showText_ = new SmallButton("Hide text", content);
    save_ = new SmallButton("Save…", content);
    forget_ = new SymbolButton("Forget", "xmark", 11, content);
    const int hideWidth = showText_->sizeHint().width();
    showText_->setLabel("Show text");
    showText_->setFixedWidth(std::max(hideWidth, showText_->sizeHint().width())); // nothing moves

    auto* statusLine = new QHBoxLayout;
    statusLine->setSpacing(leadGap);
    for (QWidget* lead : {static_cast<QWidget*>(reading_), static_cast<QWidget*>(mark_)}) {
        lead->setFixedWidth(leadWidth);
        statusLine->addWidget(lead, 0, Qt::AlignVCenter);
    }
    statusLine->addWidget(status_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(buttonGap);
    for (SmallButton* button : {copyImage_, copyText_, showText_, save_}) {
        buttons->addWidget(button);
    }
    buttons->addStretch();
    auto* lines = new QVBoxLayout;
    lines->setSpacing(lineGap);
    lines->addSpacing(lineGap);
    lines->addLayout(statusLine);
    lines->addWidget(detail_);
    lines->addStretch();
    lines->addLayout(buttons);
    auto* row = new QHBoxLayout;
    row->setSpacing(pictureGap);
    row->addWidget(thumbnail_, 0, Qt::AlignTop);
    row->addLayout(lines, 1);
    row->addWidget(forget_, 0, Qt::AlignTop);
    auto* column = makeColumn(content, textGap);
    column->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    column->addLayout(row);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    setAccessible(*this, QAccessible::ListItem, "");

    connect(copyImage_, &QAbstractButton::clicked, this, [this] { copyImage(); });
    connect(copyText_, &QAbstractButton::clicked, this, [this] { copyText(); });
    connect(showText_, &QAbstractButton::clicked, this, [this] { toggleText(); });
    connect(save_, &QAbstractButton::clicked, this, [this] { save(); });
    connect(forget_, &QAbstractButton::clicked, this, [this] { forget(); });
    write();
}

void CaptureRow::bind(const Capture& capture) {
    if (!(capture_ == capture)) {
        capture_ = capture;
        write();
    }
}

void CaptureRow::write() {
    const std::string time = timeOfDay(capture_.takenAt).toStdString();
    thumbnail_->setPicture(capture_.image);
    status_->setText(qString(statusText(capture_)));
    detail_->setText(qString(detailText(capture_, time)));
    reading_->setVisible(capture_.isReading);
    mark_->setVisible(!capture_.isReading);
    mark_->setSymbol(hasText(capture_) ? "text.alignleft" : "photo");
    mark_->setColour(hasText(capture_) ? spice_.accent() : malaiFaint);
    copyText_->setEnabled(hasText(capture_));
    showText_->setEnabled(hasText(capture_));
    setAccessibleText(*this, qString(spokenText(capture_, time)));
}

std::vector<QWidget*> CaptureRow::controls() const {
    std::vector<QWidget*> controls{copyImage_, copyText_, showText_, save_, forget_};
    if (text_) {
        controls.push_back(&text_->edit());
    }
    return controls;
}

void CaptureRow::copyImage() {
    spice_.copyImage(capture_);
    copyImage_->showSign("Copied");
}

void CaptureRow::copyText() {
    spice_.copyText(capture_);
    copyText_->showSign("Copied");
}

void CaptureRow::toggleText() {
    showingText_ = !showingText_;
    showText_->setLabel(showingText_ ? "Hide text" : "Show text");
    if (!text_) {
        text_ = new TextBox({.ground = stall, .border = rim.withOpacity(0.6)}, body_);
        text_->setName("Text");
        text_->setText(qString(*capture_.text));
        body_->layout()->addWidget(text_);
        setTabOrder(forget_, &text_->edit());
    }
    text_->setVisible(showingText_);
}

void CaptureRow::save() {
    spice_.save(capture_);
}

void CaptureRow::forget() {
    const Capture capture = capture_; // the row is gone before the spice is done
    spice_.forget(capture);
}

} // namespace Fotrel
