#include "lockscreen/LockScreenViews.h"

#include "lockscreen/BottomLeftFrame.h"
#include "lockscreen/LockImageChooser.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockWindow.h"
#include "platform/ImageLibrary.h"

#include <QFontMetricsF>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>

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
    m_background = makeImageView("background");
    m_background->setGeometry(0, 0, 0, 0);
    m_background->show();
    m_time = new QLabel(content);
    m_time->setObjectName(QStringLiteral("time"));
    m_time->setAlignment(Qt::AlignCenter);
    m_time->hide();
    m_enterPassword = new QLineEdit(content);
    m_enterPassword->setObjectName(QStringLiteral("enterPassword"));
    m_enterPassword->setEchoMode(QLineEdit::Password);
    m_enterPassword->hide();

    m_albumCover = makeImageView("albumCover");
    m_musicText = makeTextField("musicText", 15);
    m_capslockText = makeTextField("capslockText", 15);
    m_capslockText->setText(QString::fromLatin1(capslockNotice));
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
    m_contact->setText(QString::fromLatin1(contactText));

    m_albumCover->resize(50, 50);
    m_playPauseImage->setGeometry(0, 0, 25, 25);

    m_background->setGraphicsEffect(makeShadow(m_background, 0.8, 4, 2));
    m_lockImage = new LockImageView(content); // fills its frame on both axes independently
    m_lockImage->setObjectName(QStringLiteral("lockImage"));
    m_lockImage->setGraphicsEffect(makeShadow(m_lockImage, 0.6, 20, 10));
    m_lockImage->show();
    showLockImage(LockImageChooser::defaultImageName());

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

void LockScreenViews::placeContact(int primaryPixelWidth)
{
    const QFontMetricsF metrics(m_contact->font());
    const QString text = m_contact->text();
    const int textWidth = static_cast<int>(metrics.horizontalAdvance(text));
    const double x = primaryPixelWidth * 0.5 - (textWidth / 2);
    m_contactFrame = QRectF(x, 200, 400, metrics.height());
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
