#include "lockscreen/LockScreenViews.h"

#include "lockscreen/BackgroundView.h"
#include "lockscreen/BottomLeftFrame.h"
#include "lockscreen/LockImageChooser.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockWindow.h"
#include "platform/ImageLibrary.h"
#include "settings/Preferences.h"

#include <QFontMetricsF>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>

#include <algorithm>

namespace {

void setTextColour(QWidget* view, const QColor& colour)
{
    QPalette palette = view->palette();
    palette.setColor(QPalette::WindowText, colour);
    palette.setColor(QPalette::Text, colour);
    view->setPalette(palette);
}

// A shadow below a view: blur, offset downwards, black at the given opacity.
QGraphicsDropShadowEffect* makeShadow(QWidget* owner, double alpha, double blur, double drop)
{
    auto* shadow = new QGraphicsDropShadowEffect(owner);
    shadow->setColor(QColor::fromRgbF(0, 0, 0, float(alpha)));
    shadow->setBlurRadius(blur);
    shadow->setOffset(0, drop);
    return shadow;
}

} // namespace

QFont LockScreenViews::lockScreenFont(int size)
{
    // Sizes are in points of the lock screen's layout, one point per device-independent pixel.
    QFont font(QStringLiteral("Lucida Grande"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(size);
    return font;
}

LockScreenViews::LockScreenViews(LockWindow& window) : m_window(window)
{
    QWidget* content = window.contentView();

    // The background first, so that the clock and the password field lie above it.
    m_background = new BackgroundView(content);
    m_background->setObjectName(QStringLiteral("background"));
    m_background->setGeometry(0, 0, 0, 0);
    m_background->show();
    m_time = new QLabel(content);
    m_time->setObjectName(QStringLiteral("time"));
    m_time->setAlignment(Qt::AlignCenter);
    m_time->setFont(lockScreenFont(34));
    m_time->setAttribute(Qt::WA_TranslucentBackground);
    m_time->show();
    m_enterPassword = new QLineEdit(content);
    m_enterPassword->setObjectName(QStringLiteral("enterPassword"));
    m_enterPassword->setEchoMode(QLineEdit::Password);
    m_enterPassword->setAlignment(Qt::AlignCenter);
    m_enterPassword->setPlaceholderText(QStringLiteral("Password"));
    m_enterPassword->hide();

    m_albumCover = makeImageView("albumCover");
    m_musicText = makeTextField("musicText", 15);
    m_capslockText = makeTextField("capslockText", 15);
    m_capslockText->setText(QString::fromLatin1(capslockNotice));
    // An empty frame until caps lock is first seen on.
    m_capslockText->setGeometry(0, 0, 0, 0);
    m_playPauseImage = makeImageView("playPauseImage");
    m_realPercentText = makeTextField("realPercentText", 8);
    m_realPercentText->setAlignment(Qt::AlignCenter);
    m_batteryIndicator = makeImageView("batteryIndicator");
    m_doNotDisturb = new QPushButton(content);
    m_doNotDisturb->setObjectName(QStringLiteral("doNotDisturb"));
    m_doNotDisturb->setFlat(true);
    m_doNotDisturb->setFocusPolicy(Qt::NoFocus);
    m_doNotDisturb->setStyleSheet(
        QStringLiteral("QPushButton { border: none; background: transparent; }"));
    m_doNotDisturb->hide();
    m_playPauseImage->resize(50, 50);
    m_mailImage = makeImageView("mailImage");

    m_contact = makeTextField("contact", 15);
    m_contact->setText(QString::fromLatin1(Preferences::defaultContactText));

    m_albumCover->resize(50, 50);
    // In the bottom-left corner, over the album cover's lower-left quarter.
    placeFromBottomLeft(m_playPauseImage, QRectF(0, 0, 25, 25));

    m_background->setShadow(Shadows::forBackground());
    m_lockImage = new LockImageView(content); // fills its frame on both axes independently
    m_lockImage->setObjectName(QStringLiteral("lockImage"));
    m_lockImage->setGraphicsEffect(makeShadow(m_lockImage, 0.6, 20, 10));
    m_lockImage->show();
    showLockImage(LockImageChooser::defaultImageName());

    // The shut-down pair, in the top-right corner until it is dismissed.
    m_shutDown = new QPushButton(QStringLiteral("Shut Down"), content);
    m_shutDown->setObjectName(QStringLiteral("shutDown"));
    m_cancel = new QPushButton(QStringLiteral("Cancel"), content);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    for (QPushButton* button : {m_shutDown, m_cancel}) {
        button->setFocusPolicy(Qt::NoFocus);
        button->setFont(lockScreenFont(13));
        button->setCursor(Qt::PointingHandCursor);
        button->setStyleSheet(QStringLiteral(
            "QPushButton { color: white; background: rgba(0, 0, 0, 110); border: 1px solid "
            "rgba(255, 255, 255, 90); border-radius: 6px; padding: 3px 10px; }"
            "QPushButton:pressed { background: rgba(255, 255, 255, 60); }"));
        button->show();
    }

    // Security: no element of the lock screen opens a menu of its own. A popup menu takes the
    // keyboard grab and gives it back to nobody when it closes.
    for (QWidget* child : content->findChildren<QWidget*>())
        child->setContextMenuPolicy(Qt::NoContextMenu);
    content->setContextMenuPolicy(Qt::NoContextMenu);

    m_resizeConnection =
        QObject::connect(&window, &LockWindow::resized, &window, [this] { placeFromBottomEdge(); });
}

LockScreenViews::~LockScreenViews()
{
    QObject::disconnect(m_resizeConnection);
}

void LockScreenViews::placeFromBottomEdge()
{
    m_contact->setGeometry(BottomLeftFrame::toWidgetGeometry(m_contactFrame, m_window.height()));
    for (const auto& [view, frame] : m_bottomLeftFrames)
        view->setGeometry(BottomLeftFrame::toWidgetGeometry(frame, m_window.height()));
    layOutCentre();
}

void LockScreenViews::placeFromBottomLeft(QWidget* view, const QRectF& frame)
{
    bool known = false;
    for (auto& entry : m_bottomLeftFrames) {
        if (entry.first == view) {
            entry.second = frame;
            known = true;
        }
    }
    if (!known)
        m_bottomLeftFrames.append({view, frame});
    view->setGeometry(BottomLeftFrame::toWidgetGeometry(frame, m_window.height()));
}

void LockScreenViews::layOutCentre()
{
    // The clock and the password field stand under the lock image, which is centred on the
    // screen: in the band that decides the text colour, 40 to 140 points below the centre.
    const int centreX = m_window.width() / 2;
    const int centreY = m_window.height() / 2;
    m_time->setGeometry(centreX - 200, centreY + 88, 400, 46);
    m_enterPassword->setGeometry(centreX - 110, centreY + 140, 220, 28);
    const int top = 14;
    const QSize cancelSize = m_cancel->sizeHint();
    const QSize shutDownSize = m_shutDown->sizeHint();
    m_cancel->setGeometry(m_window.width() - 14 - cancelSize.width(), top, cancelSize.width(),
                          cancelSize.height());
    m_shutDown->setGeometry(m_cancel->x() - 8 - shutDownSize.width(), top, shutDownSize.width(),
                            shutDownSize.height());
}

QRectF LockScreenViews::batteryIcon() const
{
    return QRectF(m_window.width() * 0.5 - 12.5, 70, 25, 25);
}

QRectF LockScreenViews::percentText() const
{
    // The percentage stands just above the battery picture.
    return QRectF(m_window.width() * 0.5 - 12.5, 70, 24, 11);
}

QLabel* LockScreenViews::makeImageView(const char* name)
{
    auto* view = new QLabel(m_window.contentView());
    view->setObjectName(QString::fromLatin1(name));
    view->hide();
    return view;
}

QLabel* LockScreenViews::makeTextField(const char* name, int fontSize)
{
    auto* field = new QLabel(m_window.contentView());
    field->setObjectName(QString::fromLatin1(name));
    field->setFont(lockScreenFont(fontSize));
    field->setTextInteractionFlags(Qt::NoTextInteraction);
    field->setAutoFillBackground(false);
    field->setAttribute(Qt::WA_TranslucentBackground);
    field->hide();
    return field;
}

void LockScreenViews::setContactText(const QString& text)
{
    m_contact->setText(text);
    m_contact->setVisible(!text.isEmpty());
}

void LockScreenViews::placeContact(int primaryWidth)
{
    const QFontMetricsF metrics(m_contact->font());
    const QString text = m_contact->text();
    const int textWidth = static_cast<int>(metrics.horizontalAdvance(text));
    const double x = primaryWidth * 0.5 - (textWidth / 2);
    // 400 wide, as the built-in text has always had; a longer text of the user's gets its width.
    m_contactFrame = QRectF(x, 200, std::max(400, textWidth + 1), metrics.height());
    placeFromBottomEdge();
}

void LockScreenViews::applyTextColours(bool textIsBlack)
{
    const QColor colour = textIsBlack ? Qt::black : Qt::white;
    for (QWidget* view :
         {static_cast<QWidget*>(m_time), static_cast<QWidget*>(m_musicText),
          static_cast<QWidget*>(m_capslockText), static_cast<QWidget*>(m_realPercentText),
          static_cast<QWidget*>(m_contact)})
        setTextColour(view, colour);
    // Dark text turns the password field white on black; light text leaves the field as
    // designed. The asymmetry is deliberate.
    if (textIsBlack) {
        QPalette palette = m_enterPassword->palette();
        palette.setColor(QPalette::Text, Qt::white);
        palette.setColor(QPalette::Base, Qt::black);
        m_enterPassword->setPalette(palette);
    }
}

void LockScreenViews::applyDecidedTextColours(bool textIsBlack)
{
    applyTextColours(textIsBlack);
    if (!textIsBlack) {
        QPalette palette = m_enterPassword->palette();
        palette.setColor(QPalette::Text, Qt::black);
        palette.setColor(QPalette::Base, Qt::white);
        m_enterPassword->setPalette(palette);
    }
}

void LockScreenViews::applyShadows(const std::optional<ShadowStyle>& texts,
                                   const std::optional<ShadowStyle>& images,
                                   bool keepPlayPauseShadow)
{
    const auto apply = [](QWidget* view, const std::optional<ShadowStyle>& style) {
        if (!style) {
            view->setGraphicsEffect(nullptr);
            return;
        }
        // Each view gets its own copy; the offset's y grows upwards on the lock screen and
        // downwards in Qt.
        auto* shadow = new QGraphicsDropShadowEffect(view);
        shadow->setColor(style->colour);
        shadow->setBlurRadius(style->blur);
        shadow->setOffset(style->offset.x(), -style->offset.y());
        view->setGraphicsEffect(shadow);
    };
    for (QWidget* view : {static_cast<QWidget*>(m_doNotDisturb),
                          static_cast<QWidget*>(m_capslockText), static_cast<QWidget*>(m_musicText),
                          static_cast<QWidget*>(m_realPercentText), static_cast<QWidget*>(m_time)})
        apply(view, texts);
    for (QWidget* view :
         {static_cast<QWidget*>(m_albumCover), static_cast<QWidget*>(m_batteryIndicator),
          static_cast<QWidget*>(m_mailImage)})
        apply(view, images);
    if (!keepPlayPauseShadow)
        apply(m_playPauseImage, images);
}

std::optional<ShadowStyle> LockScreenViews::shadowOf(const QWidget* view)
{
    const auto* shadow = qobject_cast<const QGraphicsDropShadowEffect*>(view->graphicsEffect());
    if (!shadow)
        return std::nullopt;
    return ShadowStyle{shadow->color(), shadow->blurRadius(),
                       QPointF(shadow->offset().x(), -shadow->offset().y())};
}

void LockScreenViews::showLockImage(const QString& imageName)
{
    // Drawn large once: the view scales it down to its frame, and a vector image drawn at this
    // size stays sharp at any frame the layout gives it.
    constexpr int renderedSize = 512;
    m_lockImage->setPixmap(
        ImageLibrary::named(imageName).pixmap(QSize(renderedSize, renderedSize)));
    m_lockImageName = imageName;
}

void LockScreenViews::showLockImage(const QImage& image)
{
    m_lockImage->setPixmap(QPixmap::fromImage(image));
    m_lockImageName.clear();
}
