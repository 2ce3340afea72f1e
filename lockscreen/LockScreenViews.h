#pragma once

#include <QFont>
#include <QIcon>
#include <QImage>
#include <QMetaObject>
#include <QRectF>
#include <QString>

#include "lockscreen/TextColour.h"

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;
class BackgroundView;
class LockImageView;
class LockWindow;

// The elements of the primary lock screen that start-up builds: the background, the clock, the
// hidden password field, the lock image, the contact line, and the music, battery, mail, caps-lock
// and do-not-disturb views that the widgets place and fill while locked.
//
// All are children of the lock window. Those that only the widgets show stay hidden until then.
class LockScreenViews
{
public:
    static constexpr const char* capslockNotice = "Caps Lock Is On.";
    static QFont lockScreenFont(int size);

    explicit LockScreenViews(LockWindow& window);
    ~LockScreenViews();
    LockScreenViews(const LockScreenViews&) = delete;
    LockScreenViews& operator=(const LockScreenViews&) = delete;

    // The contact line is centred on the primary display's width (in points), 200 points above
    // the bottom edge; an empty text shows no line.
    void setContactText(const QString& text);
    void placeContact(int primaryWidth);
    QRectF contactFrame() const { return m_contactFrame; }

    // The start-up colours: dark text turns the password field white on black; light text
    // leaves the field as designed (the asymmetry is deliberate).
    void applyTextColours(bool textIsBlack);
    // The colours a decision on the picture gives: the password field always takes the
    // opposite colours (black on white under white text).
    void applyDecidedTextColours(bool textIsBlack);
    // Texts get the first shadow, images the second; none removes them. The play/pause image
    // can be left with whatever shadow it had (the flat style does that).
    void applyShadows(const std::optional<ShadowStyle>& texts,
                      const std::optional<ShadowStyle>& images, bool keepPlayPauseShadow);
    static std::optional<ShadowStyle> shadowOf(const QWidget* view);

    // Frames of the lock screen's own layout, in points from the bottom-left corner of the
    // window: the battery placeholders mark the middle of the icon row at the bottom centre.
    QRectF batteryIcon() const;
    QRectF percentText() const;
    // Places a view by a frame measured from the bottom-left corner; it keeps that place when
    // the window changes size.
    void placeFromBottomLeft(QWidget* view, const QRectF& frame);

    void showLockImage(const QString& imageName);
    void showLockImage(const QImage& image);
    // The name of the built-in image shown, or an empty string for the user's own picture.
    QString lockImageName() const { return m_lockImageName; }

    BackgroundView* background() const { return m_background; }
    QLabel* time() const { return m_time; }
    QLineEdit* enterPassword() const { return m_enterPassword; }
    QLabel* albumCover() const { return m_albumCover; }
    QLabel* musicText() const { return m_musicText; }
    QLabel* capslockText() const { return m_capslockText; }
    QLabel* playPauseImage() const { return m_playPauseImage; }
    QLabel* realPercentText() const { return m_realPercentText; }
    QLabel* batteryIndicator() const { return m_batteryIndicator; }
    QPushButton* doNotDisturb() const { return m_doNotDisturb; }
    QLabel* mailImage() const { return m_mailImage; }
    QLabel* contact() const { return m_contact; }
    QPushButton* shutDown() const { return m_shutDown; }
    QPushButton* cancel() const { return m_cancel; }
    LockImageView* lockImage() const { return m_lockImage; }

private:
    QLabel* makeImageView(const char* name);
    QLabel* makeTextField(const char* name, int fontSize);
    void placeFromBottomEdge();
    void layOutCentre();

    LockWindow& m_window;
    BackgroundView* m_background = nullptr;
    QLabel* m_time = nullptr;
    QLineEdit* m_enterPassword = nullptr;
    QLabel* m_albumCover = nullptr;
    QLabel* m_musicText = nullptr;
    QLabel* m_capslockText = nullptr;
    QLabel* m_playPauseImage = nullptr;
    QLabel* m_realPercentText = nullptr;
    QLabel* m_batteryIndicator = nullptr;
    QPushButton* m_doNotDisturb = nullptr;
    QLabel* m_mailImage = nullptr;
    QLabel* m_contact = nullptr;
    LockImageView* m_lockImage = nullptr;
    QPushButton* m_shutDown = nullptr;
    QPushButton* m_cancel = nullptr;
    QRectF m_contactFrame;
    QList<QPair<QWidget*, QRectF>> m_bottomLeftFrames;
    QMetaObject::Connection m_resizeConnection;
    QString m_lockImageName;
};
