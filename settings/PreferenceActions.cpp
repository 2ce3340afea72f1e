#include "settings/PreferenceActions.h"

#include "lockscreen/LockImageChooser.h"
#include "platform/Dialogs.h"
#include "platform/LoginItems.h"
#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

#include <QLocale>
#include <QObject>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
// The kinds of background, by their place in the background menu.
constexpr int desktopKind = 0;
constexpr int brushedMetalKind = 1;
constexpr int customKind = 2;
constexpr int clearKind = 3;
// Built-in lock images by their place in the lock-image menu.
constexpr int redLockType = 0;
constexpr int blueLockType = 1;
constexpr int blackLockType = 2;
constexpr int whiteMinimalType = 3;
constexpr int blackMinimalType = 4;
} // namespace

PreferenceActions::PreferenceActions(Preferences& preferences, const SettingsStore& store,
                                     LoginItems& loginItems, Dialogs& dialogs, Effects effects)
    : m_preferences(preferences), m_store(store), m_loginItems(loginItems), m_dialogs(dialogs),
      m_effects(std::move(effects))
{
}

void PreferenceActions::toggleShowMusic(bool checked)
{
    m_preferences.showMusic = checked;
    m_store.set(Keys::showMusic, checked);
}

void PreferenceActions::toggleShowTime(bool checked)
{
    m_preferences.showTime = checked;
    m_store.set(Keys::showTime, checked);
}

void PreferenceActions::toggleShowBattery(bool checked)
{
    m_preferences.showBattery = checked;
    m_store.set(Keys::showBattery, checked);
    m_effects.updateIconPositions();
}

void PreferenceActions::toggleShowDoNotDisturb(bool checked)
{
    m_preferences.showDoNotDisturb = checked;
    m_store.set(Keys::showDoNotDisturb, checked);
    m_effects.updateIconPositions();
}

void PreferenceActions::toggleShutDown()
{
    m_preferences.showShutDown = !m_preferences.showShutDown;
    m_store.set(Keys::showShutDown, m_preferences.showShutDown);
    m_effects.updateIconPositions();
}

void PreferenceActions::toggleShowCapslock()
{
    m_preferences.showCapslock = !m_preferences.showCapslock;
    m_store.set(Keys::showCapslock, m_preferences.showCapslock);
}

void PreferenceActions::toggleWiggleLock()
{
    m_preferences.wiggleLock = !m_preferences.wiggleLock;
    m_store.set(Keys::wiggleLock, m_preferences.wiggleLock);
}

void PreferenceActions::toggleFlat()
{
    m_preferences.flat = !m_preferences.flat;
    m_store.set(Keys::flat, m_preferences.flat);
    m_effects.setShadows();
}

bool PreferenceActions::toggleTurnOffDisplay()
{
    m_preferences.dimEnabled = !m_preferences.dimEnabled;
    m_store.set(Keys::dim, m_preferences.dimEnabled);
    return m_preferences.dimEnabled;
}

bool PreferenceActions::toggleTimeout()
{
    m_preferences.timeout = !m_preferences.timeout;
    m_store.set(Keys::timeout, m_preferences.timeout);
    return m_preferences.timeout;
}

void PreferenceActions::toggleOpenOnLogin()
{
    m_preferences.openAtLogin = !m_preferences.openAtLogin;
    m_store.set(Keys::openAtLogin, m_preferences.openAtLogin);
    if (m_preferences.openAtLogin)
        m_loginItems.append();
    else
        m_loginItems.removeOwn();
}

float PreferenceActions::floatValue(const QString& text)
{
    // Typed text is read the same way in every locale: a full stop is the decimal point.
    static const QRegularExpression number(
        QStringLiteral("^\\s*[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?"));
    const QRegularExpressionMatch match = number.match(text);
    if (!match.hasMatch())
        return 0.0f;
    return QLocale::c().toFloat(match.captured(0).trimmed());
}

void PreferenceActions::setTimeout(float minutes)
{
    m_preferences.timeoutTime = minutes;
    // The file keeps whole minutes, read back at the next start as a 32-bit integer: a larger
    // number (2147483648, or 1e30 typed) is written as the largest that reads back as itself,
    // rather than one that reads back negative, and no number is converted out of range.
    const double whole = std::isnan(minutes) ? 0.0 : std::trunc(double(minutes));
    const double kept = std::clamp(whole, double(std::numeric_limits<qint32>::min()),
                                   double(std::numeric_limits<qint32>::max()));
    m_store.set(Keys::timeoutTime, qint64(kept));
}

void PreferenceActions::setLockBrightness(float brightness)
{
    m_preferences.lockBrightness = brightness;
    m_store.set(Keys::lockBrightnes, double(brightness));
}

void PreferenceActions::screenSliderChanged(int strength)
{
    m_preferences.wiggleStrength = strength;
    m_store.set(Keys::wiggleStrength, qint64(strength));
}

void PreferenceActions::setLockImageType(int type)
{
    m_preferences.lockImageType = type;
    m_store.set(Keys::lockImageType, qint64(type));
}

void PreferenceActions::redLock()
{
    m_preferences.lockImageType = redLockType;
    m_effects.showLockImageNamed(LockImageChooser::builtInImageName(redLockType));
    m_store.set(Keys::lockImageType, qint64(redLockType));
    defaultLockImage();
}

void PreferenceActions::blueLock()
{
    setLockImageType(blueLockType);
    defaultLockImage();
}

void PreferenceActions::blackLock()
{
    setLockImageType(blackLockType);
    defaultLockImage();
}

void PreferenceActions::defaultLockImage()
{
    const int type = m_preferences.lockImageType;
    m_store.set(Keys::lockImageType, qint64(type));
    if (type == redLockType || type == blueLockType || type == blackLockType)
        m_effects.showLockImageNamed(LockImageChooser::builtInImageName(type));
}

void PreferenceActions::whiteMinimalLockImage()
{
    setLockImageType(whiteMinimalType);
    m_effects.showLockImageNamed(LockImageChooser::builtInImageName(whiteMinimalType));
}

void PreferenceActions::blackMinimalLockImage()
{
    setLockImageType(blackMinimalType);
    m_effects.showLockImageNamed(LockImageChooser::builtInImageName(blackMinimalType));
}

bool PreferenceActions::customLockImage(const QString& fileUrl)
{
    const std::optional<QImage> image = LockImageChooser::loadCustomImage(fileUrl);
    if (!image)
        return false;
    setLockImageType(LockImageChooser::customImageType);
    m_store.set(Keys::lockImageURL, fileUrl);
    m_effects.showLockImage(*image);
    return true;
}

void PreferenceActions::chooseBackground(int kind)
{
    if (m_preferences.backgroundType != kind)
        m_effects.clearBackgroundReady();
    m_preferences.backgroundType = kind;
}

void PreferenceActions::desktopBackground()
{
    chooseBackground(desktopKind);
    m_store.set(Keys::desktopImageType, qint64(desktopKind));
}

void PreferenceActions::brushedMetal()
{
    chooseBackground(brushedMetalKind);
    m_store.set(Keys::desktopImageType, qint64(brushedMetalKind));
}

void PreferenceActions::clearBackground()
{
    chooseBackground(clearKind);
}

bool PreferenceActions::customBackgroundImage(const QString& fileUrl)
{
    if (!LockImageChooser::loadCustomImage(fileUrl))
        return false;
    // Chosen again, the same kind still needs a new build: the picture is another one.
    m_effects.clearBackgroundReady();
    m_preferences.backgroundType = customKind;
    m_store.set(Keys::desktopImageType, qint64(customKind));
    m_store.set(Keys::desktopImageURL, fileUrl);
    return true;
}

void PreferenceActions::lockAnimationChosen(int position)
{
    m_preferences.startAnimation = position;
    m_store.set(Keys::startAnimation, qint64(position));
}

void PreferenceActions::unlockAnimationChosen(int position)
{
    m_preferences.closeAnimation = position;
    m_store.set(Keys::closeAnimation, qint64(position));
}

void PreferenceActions::toggleLockOnWake()
{
    m_preferences.lockOnWakeVariable = !m_preferences.lockOnWakeVariable;
    if (m_preferences.lockOnWakeVariable)
        m_dialogs.askAsSheet(m_effects.window(), QString::fromLatin1(lockOnWakeWarning),
                             {QObject::tr("Continue"), QObject::tr("Go Back")},
                             [this](int returnCode) { lockOnWakeAlertDidEnd(returnCode); });
    // Written at once: the answer may take a while, and "Continue" keeps this value.
    m_store.set(Keys::lockOnWake, m_preferences.lockOnWakeVariable);
}

void PreferenceActions::lockOnWakeAlertDidEnd(int returnCode)
{
    if (returnCode != Dialogs::secondButton)
        return;
    m_preferences.lockOnWakeVariable = !m_preferences.lockOnWakeVariable;
    m_effects.setLockOnWakeCheck(false);
    m_store.set(Keys::lockOnWake, m_preferences.lockOnWakeVariable);
}
