#pragma once

#include <QLabel>

class QLineEdit;

// A warning under a new password's field while what is typed there is short: such a password is
// quickly guessed. In the change fields, with the old password typed and no new one, it says
// what an empty password does instead: it is saved without a question, and ends a lock only
// while the order of the keys does not matter. It only warns; the password can still be saved.
class ShortPasswordHint : public QLabel
{
    Q_OBJECT
public:
    static constexpr int minimumLength = 6;
    static constexpr const char* warning =
        "Shorter than 6 characters: a password this short is easy to guess.";
    static constexpr const char* emptyWarning =
        "No new password: any key ends a lock where the order of the keys does not matter, and "
        "none ever does where it matters.";

    // `oldField`: the change fields' old password, for the empty-password warning.
    ShortPasswordHint(QLineEdit* field, QWidget* parent, QLineEdit* oldField = nullptr);

private:
    void follow();

    QLineEdit* m_field;
    QLineEdit* m_oldField;
};
