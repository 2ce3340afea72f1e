#pragma once

#include <QDialog>

// The About window: the program's name, version and a line on what it does. Each opening makes a
// fresh one, which deletes itself when closed.
class AboutWindow : public QDialog
{
    Q_OBJECT
public:
    static constexpr const char* title = "About Tessarine";

    explicit AboutWindow(QWidget* parent = nullptr);
    static QString version();
};
