#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class LockScreenViews;
class Scheduler;
class ScriptRunner;
class TimerSlot;
struct Preferences;

// The unread-mail badge: an envelope with the count, from none to 9 and then "9+". The count
// comes from outside: every 4 seconds while locked the "Mail" script runs, and it reports the
// count back over the bus (`mail`), which arrives here as setMail.
class MailBadge
{
public:
    static constexpr std::chrono::milliseconds pollInterval{4000};
    // A script still running after this is killed, so that runs cannot pile up.
    static constexpr std::chrono::milliseconds scriptLimit{3000};
    static constexpr const char* scriptName = "Mail";

    MailBadge(ScriptRunner& scripts, Scheduler& scheduler, const Preferences& preferences,
              LockScreenViews& views);
    ~MailBadge();

    // Only a change is drawn, so a change of text colour waits for the next new count, and a
    // first report of 0 leaves the picture the lock opened with.
    void setMail(int count);
    // One run of the script, or the end of the timer once the lock is over.
    void updateMail(bool lockActive);
    // The 4-second timer of the lock; each run asks whether the lock is still on.
    void startPolling(std::function<bool()> lockActive);
    TimerSlot& mailTimer() { return *m_mailTimer; }
    // As the lock opens: the envelope without a count, in the current colour.
    void showEmptyBadge();
    // As the lock closes.
    void resetCount() { m_lastMailCount = 0; }
    int lastMailCount() const { return m_lastMailCount; }
    QString image() const { return m_image; }

    static QString imageName(int count, int textIsBlack);

private:
    void show(const QString& image);

    ScriptRunner& m_scripts;
    const Preferences& m_preferences;
    LockScreenViews& m_views;
    std::unique_ptr<TimerSlot> m_mailTimer;
    int m_lastMailCount = 0;
    bool m_running = false;
    QString m_image;
};
