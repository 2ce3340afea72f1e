#pragma once

#include <QString>

#include <optional>

// The first display's brightness, from 0.0 (dark) to 1.0 (full). Values above 1.0 are handed on
// unchanged; what the display makes of them is its business.
class DisplayBrightness
{
public:
    virtual ~DisplayBrightness() = default;
    virtual std::optional<float> brightness() const = 0;
    virtual void setBrightness(float level) = 0;
};

// On Linux: the first backlight device in /sys/class/backlight (by name; the folder can be moved
// with TESSARINE_BACKLIGHT_DIR), written through logind's Session.SetBrightness, or directly when
// the file is writable. With no backlight at all (a desktop monitor), 0.0 switches the display
// off through DPMS and any other level switches it on.
class LinuxDisplayBrightness final : public DisplayBrightness
{
public:
    explicit LinuxDisplayBrightness(QString root = defaultRoot());
    static QString defaultRoot();

    std::optional<float> brightness() const override;
    void setBrightness(float level) override;

    // The device used, empty when there is none.
    QString device() const;

private:
    bool setThroughLogind(const QString& device, quint32 value) const;
    static bool setDpms(bool on);
    static std::optional<bool> dpmsOn();

    QString m_root;
};
