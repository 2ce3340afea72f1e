#pragma once

#include <QPointer>

class QLabel;
class QWidget;

// The banner a lock screen shows while another program holds the keyboard or the pointer (an
// open menu, a drag, another locker): the screen is covered, but what is typed goes to that
// program until it lets go. A lock that cannot hold input says so rather than pretend.
class InputHeldNotice
{
public:
    static constexpr const char* text =
        "Another program holds the keyboard or the mouse. Your password can be typed here as "
        "soon as it lets go.";
    // The banner's colour, one no background of the lock screen is expected to be made of.
    static constexpr unsigned colour = 0xb22222;

    // Shows the banner across the top of the window, made the first time it is needed.
    void show(QWidget* window);
    void hide();
    bool isShown() const;

private:
    QPointer<QLabel> m_label;
};
