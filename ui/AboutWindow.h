#pragma once

#include <QDialog>

// The About window: the program's name, version, a line on what it does, its licence and a
// link to the users' page of its web site. Each opening makes a
// fresh one, which deletes itself when closed.
class AboutWindow : public QDialog
{
    Q_OBJECT
public:
    static constexpr const char* title = "About Tessarine";

    explicit AboutWindow(QWidget* parent = nullptr);
    static QString version();

signals:
    // The link to the users' page of the web site was clicked.
    void usersSiteRequested();
};
