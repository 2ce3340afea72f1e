#pragma once

#include <QWidget>

// The Help window: how to lock, unlock and set the program up. It lives as long as the program
// and is only shown and hidden.
class HelpWindow : public QWidget
{
    Q_OBJECT
public:
    explicit HelpWindow(QWidget* parent = nullptr);
};
