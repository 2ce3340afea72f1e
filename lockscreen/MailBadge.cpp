#include "lockscreen/MailBadge.h"

#include "lockscreen/LockScreenViews.h"
#include "platform/ImageLibrary.h"
#include "platform/Log.h"
#include "platform/Scheduler.h"
#include "platform/ScriptRunner.h"
#include "settings/Preferences.h"

#include <QLabel>

MailBadge::MailBadge(ScriptRunner& scripts, Scheduler& scheduler, const Preferences& preferences,
                     LockScreenViews& views)
    : m_scripts(scripts), m_preferences(preferences), m_views(views),
      m_mailTimer(std::make_unique<TimerSlot>(scheduler))
{
}

MailBadge::~MailBadge() = default;

void MailBadge::startPolling(std::function<bool()> lockActive)
{
    m_mailTimer->armRepeating(pollInterval, [this, lockActive] { updateMail(lockActive()); });
}

QString MailBadge::imageName(int count, int textIsBlack)
{
    const QString base =
        textIsBlack != 0 ? QStringLiteral("mailblack") : QStringLiteral("mailwhite");
    if (count == 0)
        return base;
    if (count >= 1 && count <= 9)
        return base + QString::number(count);
    return base + QStringLiteral("9+");
}

void MailBadge::show(const QString& image)
{
    m_image = image;
    QLabel* badge = m_views.mailImage();
    badge->setPixmap(ImageLibrary::named(image).pixmap(QSize(25, 25), badge->devicePixelRatioF()));
}

void MailBadge::setMail(int count)
{
    if (count == m_lastMailCount)
        return;
    m_lastMailCount = count;
    show(imageName(count, m_preferences.textIsBlack));
}

void MailBadge::showEmptyBadge()
{
    show(imageName(0, m_preferences.textIsBlack));
}

void MailBadge::updateMail(bool lockActive)
{
    if (!lockActive) {
        m_mailTimer->invalidate();
        return;
    }
    // The script reports over the bus, which this same thread answers: it cannot be waited for,
    // so it runs beside the lock screen, one run at a time.
    if (m_running)
        return;
    m_running = true;
    m_scripts.run(QString::fromLatin1(scriptName), scriptLimit, [this](const ScriptOutcome& end) {
        m_running = false;
        if (end.kind == ScriptOutcome::Missing)
            Log::line(QStringLiteral("Mail applescript load error: %1").arg(end.detail));
        else if (end.kind != ScriptOutcome::Finished)
            Log::line(QStringLiteral("Mail applescript run error: %1").arg(end.detail));
    });
}
