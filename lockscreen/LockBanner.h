#pragma once

#include <QPointer>
#include <QString>

class QLabel;
class QWidget;

// A band of text across the lock screen, for what the user must know about the lock itself:
// that another program holds the input, or that keys are being taken slowly. A lock that cannot
// do what it seems to do says so rather than pretend.
class LockBanner
{
public:
    LockBanner(const char* objectName, QString text, unsigned colour, int top);

    // Shows the banner across the window, made the first time it is needed.
    void show(QWidget* window);
    void hide();
    bool isShown() const;

    static constexpr int height = 64;

private:
    const char* m_objectName;
    QString m_text;
    unsigned m_colour;
    int m_top;
    QPointer<QLabel> m_label;
};

// Another program holds the keyboard or the pointer (an open menu, a drag, another locker): the
// screen is covered, but what is typed goes to that program until it lets go.
namespace InputHeldNotice {
inline constexpr const char* text =
    "Another program holds the keyboard or the mouse. Your password can be typed here as soon as "
    "it lets go.";
// A colour no background of the lock screen is expected to be made of.
inline constexpr unsigned colour = 0xb22222;
} // namespace InputHeldNotice

// Too many keys in this lock completed nothing: a machine may be typing guesses.
namespace SlowKeysNotice {
inline constexpr const char* text =
    "Too many keys that unlock nothing: keys are now taken slowly. Type your password calmly; "
    "after a mistake, wait half a minute.";
inline constexpr unsigned colour = 0x8b5a00;
} // namespace SlowKeysNotice
