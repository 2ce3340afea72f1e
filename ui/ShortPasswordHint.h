#pragma once

#include <QLabel>

class QLineEdit;

// A warning under a new password's field while what is typed there is short: such a password is
// quickly guessed. It only warns; the password can still be saved.
class ShortPasswordHint : public QLabel
{
    Q_OBJECT
public:
    static constexpr int minimumLength = 6;
    static constexpr const char* warning =
        "Shorter than 6 characters: a password this short is easy to guess.";

    ShortPasswordHint(QLineEdit* field, QWidget* parent);

private:
    void follow(const QString& password);
};
