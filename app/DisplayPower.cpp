#include "app/DisplayPower.h"

#include "platform/DisplayBrightness.h"
#include "platform/Log.h"
#include "platform/ScriptRunner.h"

DisplayPower::DisplayPower(DisplayBrightness& display, ScriptRunner& scripts)
    : m_display(display), m_scripts(scripts)
{
}

DisplayPower::~DisplayPower()
{
    waitForDimming();
}

void DisplayPower::getPreviousBrightness()
{
    // A failed reading leaves the value from before.
    if (const auto level = m_display.brightness())
        m_savedBrightness = *level;
}

void DisplayPower::turnOffDisplay()
{
    Log::line(QString::fromLatin1(turningOffLine));
    m_displayDimmed = true;
    m_display.setBrightness(0.0f);
}

void DisplayPower::wakeDisplay()
{
    m_display.setBrightness(m_savedBrightness);
    m_displayDimmed = false;
}

void DisplayPower::dimApplescript(float lockBrightness)
{
    letGoOfEarlierDimming();
    m_lockEnded = false;
    m_dimming = std::thread([this, lockBrightness] {
        m_backBrightnessChanged = false;
        if (const auto level = m_display.brightness())
            setBrightness(*level);
        m_scripts.runAndWait(QStringLiteral("animateOn"));
        m_scripts.runAndWait(QStringLiteral("Tessarine"));
        // A lock that ended meanwhile has put the brightness back already.
        if (!m_lockEnded)
            m_display.setBrightness(lockBrightness);
    });
}

void DisplayPower::letGoOfEarlierDimming()
{
    if (m_dimming.joinable())
        m_dimming.detach();
}

void DisplayPower::restoreBrightness()
{
    // The unlock never waits for the scripts: a dimming still under way sees the mark and leaves
    // the display alone, and the brightness held so far is put back now.
    m_lockEnded = true;
    m_display.setBrightness(m_brightness);
}

void DisplayPower::runAnimateOn()
{
    m_scripts.start(QStringLiteral("animateOn"));
}

void DisplayPower::waitForDimming()
{
    if (m_dimming.joinable())
        m_dimming.join();
}
