#include "StartedProgram.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "input/PasswordSetting.h"
#include "ui/ChangePasswordFields.h"
#include "ui/FirstPasswordWindow.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <sys/stat.h>

namespace {
void type(FirstPasswordWindow* window, const QString& password, const QString& confirmation)
{
    window->firstPassword()->setText(password);
    window->firstPasswordConfirm()->setText(confirmation);
    window->saveButton()->click();
}
} // namespace

class TestPasswordSetting : public QObject
{
    Q_OBJECT
private slots:
    void theFirstPasswordIsSavedAndTheWindowCloses()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        FirstPasswordWindow* window = program.delegate->setPassword();
        QVERIFY(window->isVisible());
        type(window, "s3cret", "s3cret");
        QCOMPARE(*PasswordFile::read(library.passwordPath()),
                 QStringList({"s", "3", "c", "r", "e", "t"}));
        struct stat info
        {
        };
        QCOMPARE(::stat(QFile::encodeName(library.passwordPath()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
        QVERIFY(!window->isVisible());
        QVERIFY(window->firstPassword()->text().isEmpty());
        QVERIFY(window->firstPasswordConfirm()->text().isEmpty());
        QCOMPARE(program.dialogs.alerts, QStringList({"Password saved successfully!"}));
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>(6, 0));
    }

    void mismatchingFieldsChangeNothing()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        FirstPasswordWindow* window = program.delegate->setPassword();
        type(window, "one", "two");
        QCOMPARE(program.dialogs.alerts, QStringList({"Passwords do not match."}));
        QVERIFY(!QFileInfo::exists(library.passwordPath()));
        QVERIFY(window->isVisible());
        QCOMPARE(window->firstPassword()->text(), QString("one"));
        QCOMPARE(window->firstPasswordConfirm()->text(), QString("two"));
    }

    void anEmptyPasswordAskedAndContinuedIsSaved()
    {
        TestLibrary library;
        {
            StartedProgram program(library.folder());
            type(program.delegate->setPassword(), "", "");
            QCOMPARE(program.dialogs.question,
                     QString("Are you sure you want to continue without setting a password?"));
            QCOMPARE(program.dialogs.questionButtons, QStringList({"Go Back", "Continue"}));
            QVERIFY(!QFileInfo::exists(library.passwordPath()));
            program.dialogs.answer(1001);
            QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList());
            QVERIFY(!program.delegate->setPassword()->isVisible());
            QCOMPARE(program.dialogs.alerts, QStringList({"Password saved successfully!"}));
        }
        // The next start shows no first-password window.
        StartedProgram next(library.folder());
        QVERIFY(!next.delegate->setPassword()->isVisible());
        QVERIFY(!PasswordBuffer::isAbsent());
    }

    void anEmptyPasswordAskedAndGoneBackFromWritesNothing()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        type(program.delegate->setPassword(), "", "");
        program.dialogs.answer(1000);
        QVERIFY(!QFileInfo::exists(library.passwordPath()));
        QVERIFY(program.delegate->setPassword()->isVisible());
        QVERIFY(program.dialogs.alerts.isEmpty());
    }

    void theChangeFieldsStoreANewPassword()
    {
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"o", "l", "d"});
        StartedProgram program(library.folder());
        ChangePasswordFields* fields = program.delegate->changePasswordFields();
        fields->oldPassword()->setText("old");
        fields->nextPassword()->setText("new");
        fields->confirmNewPassword()->setText("new");
        fields->saveButton()->click();
        QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList({"n", "e", "w"}));
        QCOMPARE(program.dialogs.alerts, QStringList({"Password saved successfully!"}));
        QVERIFY(fields->oldPassword()->text().isEmpty());
        QVERIFY(fields->nextPassword()->text().isEmpty());
        QVERIFY(fields->confirmNewPassword()->text().isEmpty());
    }

    void theChangeFieldsAcceptAnEmptyNewPassword()
    {
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"o", "l", "d"});
        StartedProgram program(library.folder());
        ChangePasswordFields* fields = program.delegate->changePasswordFields();
        fields->oldPassword()->setText("old");
        fields->saveButton()->click();
        QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList());
        QCOMPARE(program.dialogs.alerts, QStringList({"Password saved successfully!"}));
        QVERIFY(program.dialogs.question.isEmpty()); // no question asked here
    }

    void aWrongOldPasswordInTheFieldsKeepsThemAsTyped()
    {
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"o", "l", "d"});
        const QByteArray before = library.readFile(library.passwordPath());
        StartedProgram program(library.folder());
        ChangePasswordFields* fields = program.delegate->changePasswordFields();
        fields->oldPassword()->setText("odl");
        fields->nextPassword()->setText("a");
        fields->confirmNewPassword()->setText("b");
        fields->saveButton()->click();
        QCOMPARE(program.dialogs.alerts, QStringList({"Previous password incorrect."}));
        QCOMPARE(library.readFile(library.passwordPath()), before);
        QCOMPARE(fields->nextPassword()->text(), QString("a"));
    }

    void theChangeFlowAcceptsAnEmptyNewPassword()
    {
        TestLibrary library;
        FakeDialogs dialogs;
        PasswordBuffer::load(QStringList({"o", "l", "d"}));
        PasswordSetting setting(library.passwordPath(), dialogs);
        QCOMPARE(setting.savePassword("old", "", ""), PasswordSetting::ChangeResult::Saved);
        QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList());
        QVERIFY(PasswordBuffer::buffer()->isEmpty());
    }

    void aPasswordThatCouldNotBeWrittenIsNotSaidToBeSaved()
    {
        TestLibrary library;
        // The settings folder cannot be made: a file stands where its parent should be.
        library.writeFile(library.folder() + QStringLiteral("/blocker"), "a file");
        const QString path = library.folder() + QStringLiteral("/blocker/tessarine/settings.plist");
        FakeDialogs dialogs;
        PasswordSetting setting(path, dialogs);
        QCOMPARE(setting.saveNewPassword("k3y", "k3y"), PasswordSetting::FirstTimeStep::Saved);
        setting.confirmSaved();
        QCOMPARE(dialogs.alerts.size(), 1);
        QVERIFY2(dialogs.alerts.first().startsWith("Your password could not be saved: the folder "),
                 qPrintable(dialogs.alerts.first()));
        QVERIFY(dialogs.alerts.first().contains("does not exist and could not be made"));
        QVERIFY(!dialogs.alerts.first().contains("successfully"));
        // Where it can be written, the usual confirmation.
        PasswordSetting writable(library.passwordPath(), dialogs);
        QCOMPARE(writable.saveNewPassword("k3y", "k3y"), PasswordSetting::FirstTimeStep::Saved);
        writable.confirmSaved();
        QCOMPARE(dialogs.alerts.last(), QStringLiteral("Password saved successfully!"));
    }

    void aWrongOldPasswordIsTheOnlyMessage()
    {
        TestLibrary library;
        FakeDialogs dialogs;
        PasswordBuffer::load(QStringList({"o", "l", "d"}));
        PasswordSetting setting(library.passwordPath(), dialogs);
        QCOMPARE(setting.savePassword("odl", "new", "wen"),
                 PasswordSetting::ChangeResult::WrongOldPassword);
        QCOMPARE(dialogs.alerts, QStringList({"Previous password incorrect."}));
        QVERIFY(!QFileInfo::exists(library.passwordPath()));
        QCOMPARE(*PasswordBuffer::buffer(), QStringList({"o", "l", "d"}));
    }

    void theChangeFlowsMismatchKeepsItsOwnWording()
    {
        TestLibrary library;
        FakeDialogs dialogs;
        PasswordBuffer::load(QStringList({"o"}));
        PasswordSetting setting(library.passwordPath(), dialogs);
        QCOMPARE(setting.savePassword("o", "new", "wen"), PasswordSetting::ChangeResult::Mismatch);
        QCOMPARE(dialogs.alerts, QStringList({"Password do not match."}));
    }

    void aPasswordThatCouldNeverBeTypedBackIsRefusedInBothFlows()
    {
        TestLibrary library;
        FakeDialogs dialogs;
        PasswordBuffer::load(QStringList({"o"}));
        PasswordSetting setting(library.passwordPath(), dialogs);
        const QString euro = QString::fromUtf8("pa\u20acs\u20ac\u0416");
        QCOMPARE(setting.saveNewPassword(euro, euro), PasswordSetting::FirstTimeStep::Untypable);
        QCOMPARE(setting.savePassword("o", euro, euro), PasswordSetting::ChangeResult::Untypable);
        const QString refusal = QString::fromUtf8(
            "The password was not saved: \u201c\u20ac\u201d, \u201c\u0416\u201d cannot be kept in "
            "the password file as typed, so it could never be typed back to unlock the screen. "
            "Use letters, digits and signs of the Latin-1 set, as on Western European keyboards.");
        QCOMPARE(dialogs.alerts, QStringList({refusal, refusal}));
        QVERIFY(!QFileInfo::exists(library.passwordPath()));
        QCOMPARE(*PasswordBuffer::buffer(), QStringList({"o"}));
        // Latin-1 is kept as it is typed, and so is saved; a mismatch is still said first.
        const QString latin = QString::fromUtf8("\u00e9t\u00e9");
        QCOMPARE(setting.saveNewPassword(latin, latin), PasswordSetting::FirstTimeStep::Saved);
        QCOMPARE(setting.saveNewPassword(euro, "x"), PasswordSetting::FirstTimeStep::Mismatch);
        QCOMPARE(PasswordSetting::untypableCharacters(QString::fromUtf8("a\U0001F600b\U0001F600")),
                 QString::fromUtf8("\U0001F600"));
    }

    void aCharacterBeyondOneByteKeepsOnlyItsLowByte()
    {
        TestLibrary library;
        FakeDialogs dialogs;
        PasswordSetting setting(library.passwordPath(), dialogs);
        setting.store(QString::fromUtf8("\u20ac1"));
        QCOMPARE(*PasswordFile::read(library.passwordPath()),
                 QStringList({QString::fromUtf8("\u00ac"), "1"}));
    }
};

QTEST_MAIN(TestPasswordSetting)
#include "test_password_setting.moc"
