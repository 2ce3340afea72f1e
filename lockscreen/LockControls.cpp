#include "lockscreen/LockControls.h"

#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "platform/Displays.h"
#include "platform/ImageLibrary.h"
#include "platform/Scheduler.h"
#include "platform/ScriptRunner.h"
#include "settings/Preferences.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QLineEdit>
#include <QPropertyAnimation>
#include <QPushButton>

LockControls::LockControls(Services services, const Preferences& preferences, LockWindow& window,
                           LockScreenViews& views)
    : m_services(services), m_preferences(preferences), m_window(window), m_views(views),
      m_hideTextBoxCall(std::make_unique<TimerSlot>(services.scheduler)),
      m_hideShutDownCall(std::make_unique<TimerSlot>(services.scheduler))
{
}

LockControls::~LockControls() = default;

void LockControls::capslockOn()
{
    if (!m_preferences.showCapslock)
        return;
    // The display's width in the points the lock window is laid out in: at two device pixels
    // per point a width in pixels would put the notice past the right edge.
    const double width = m_services.displays.primaryGeometry().width();
    QLabel* notice = m_views.capslockText();
    notice->setText(QString::fromLatin1(capslockLiveText));
    m_views.placeFromBottomLeft(notice, QRectF(width - 140.0, 0.0, 140.0, 23.0));
}

void LockControls::capslockOff()
{
    if (!m_preferences.showCapslock)
        return;
    m_views.capslockText()->setText(QString());
}

void LockControls::fade(QWidget* view, bool in)
{
    auto* opacity = qobject_cast<QGraphicsOpacityEffect*>(view->graphicsEffect());
    if (!opacity) {
        opacity = new QGraphicsOpacityEffect(view);
        view->setGraphicsEffect(opacity);
    }
    auto* animation = new QPropertyAnimation(opacity, "opacity", view);
    animation->setObjectName(in ? QStringLiteral("fadeIn") : QStringLiteral("fadeOut"));
    animation->setStartValue(in ? 0.0 : 1.0);
    animation->setEndValue(in ? 1.0 : 0.0);
    animation->setDuration(int(fadeDuration.count()));
    animation->setEasingCurve(QEasingCurve::InQuad);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void LockControls::toggleDoNotDisturb()
{
    m_doNotDisturbBool = !m_doNotDisturbBool;
    QLineEdit* field = m_views.enterPassword();
    if (field->isHidden()) {
        m_hideTextBoxCall->invalidate();
        field->show();
        fade(field, true);
        return;
    }
    fade(field, false);
    m_hideTextBoxCall->arm(fadeDuration, [this] { hideTextBox(); });
    field->setText(QString());
    // The keys go back to the lock screen's own key handling.
    m_window.setFocus();
}

void LockControls::hideTextBox()
{
    m_views.enterPassword()->hide();
}

void LockControls::updateDoNotDisturbImage()
{
    QPushButton* button = m_views.doNotDisturb();
    const QString name = m_preferences.textIsBlack != 0 ? QStringLiteral("donotdisturbblack")
                                                        : QStringLiteral("donotdisturbwhite");
    m_doNotDisturbImage = name;
    button->setIcon(ImageLibrary::named(name));
    button->setIconSize(QSize(25, 25));
}

void LockControls::shutDownScript()
{
    // Whatever the script does, nothing of it is shown or logged.
    m_services.scripts.start(QString::fromLatin1(shutDownScriptName));
}

void LockControls::cancelShutDown()
{
    fade(m_views.shutDown(), false);
    fade(m_views.cancel(), false);
    m_hideShutDownCall->arm(fadeDuration, [this] { hideShutDown(); });
}

void LockControls::hideShutDown()
{
    m_views.shutDown()->hide();
    m_views.cancel()->hide();
}
