#pragma once

#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/PowerSources.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <optional>

// The keys of an options file with each value as "type:value" (for example "boolean:true",
// "integer:5"); nothing when it is not a readable dictionary.
std::optional<QMap<QString, QString>> describeProperties(const QString& path);

// A fresh, empty Library folder for one test, removed afterwards.
class TestLibrary
{
public:
    TestLibrary();
    QString folder() const { return m_dir.path(); }
    QString propertiesPath() const { return folder() + QStringLiteral("/properties.plist"); }
    QString passwordPath() const { return folder() + QStringLiteral("/settings.plist"); }

    void writeFile(const QString& path, const QByteArray& bytes) const;
    QByteArray readFile(const QString& path) const;

    // Writes properties.plist as an XML dictionary of the given raw <key>/<value> body.
    void writeProperties(const QString& body) const;
    // A configured profile: these options and a password (so a start shows nothing).
    void configure(const QString& options, const QStringList& password = {"a"}) const;

    std::optional<QMap<QString, QString>> properties() const
    {
        return describeProperties(propertiesPath());
    }

private:
    QTemporaryDir m_dir;
};

class FakePowerSources final : public PowerSources
{
public:
    std::optional<BatteryReading> battery = BatteryReading{50, 100};
    bool adapter = false;
    std::optional<BatteryReading> firstBattery() const override { return battery; }
    bool externalPowerConnected() const override { return adapter; }
};

class FakeDisplays final : public Displays
{
public:
    QRect geometry{0, 0, 1920, 1080};
    QList<QRect> others; // displays beyond the primary one
    QRect primaryGeometry() const override { return geometry; }
    QList<QRect> screenGeometries() const override { return QList<QRect>{geometry} + others; }
};

// Records every alert; a question waits until the test answers it.
class FakeDialogs final : public Dialogs
{
public:
    QStringList alerts;
    QString question;
    QStringList questionButtons;
    std::function<void(int)> pendingAnswer;
    QString panelMessage;
    std::function<void(std::optional<QString>)> pendingChoice;

    QList<QWidget*> alertWindows; // the window each alert belonged to
    void showAlert(const QString& message, QWidget* window = nullptr) override
    {
        alerts.append(message);
        alertWindows.append(window);
    }
    void askAsSheet(QWidget*, const QString& message, const QStringList& buttons,
                    std::function<void(int)> answered) override
    {
        question = message;
        questionButtons = buttons;
        pendingAnswer = std::move(answered);
    }
    void chooseFile(QWidget*, const QString& message,
                    std::function<void(std::optional<QString>)> chosen) override
    {
        panelMessage = message;
        pendingChoice = std::move(chosen);
    }
    // Ends the open panel with a file (an absolute URL) or, given nothing, as cancelled.
    void choose(std::optional<QString> url)
    {
        auto chosen = std::move(pendingChoice);
        pendingChoice = nullptr;
        chosen(std::move(url));
    }
    void answer(int returnCode)
    {
        auto answered = std::move(pendingAnswer);
        pendingAnswer = nullptr;
        answered(returnCode);
    }
};

// Keeps the program's log lines for the test while it lives.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    QStringList& lines() { return m_lines; }
    void clear() { m_lines.clear(); }

private:
    QStringList m_lines;
};
