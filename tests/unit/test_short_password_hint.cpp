#include "ui/ChangePasswordFields.h"
#include "ui/FirstPasswordWindow.h"
#include "ui/ShortPasswordHint.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

class TestShortPasswordHint : public QObject
{
    Q_OBJECT
private slots:
    void theFirstPasswordWindowWarnsWhileThePasswordIsShort()
    {
        FirstPasswordWindow window;
        window.show();
        auto* hint = window.findChild<ShortPasswordHint*>(QStringLiteral("shortPasswordHint"));
        QVERIFY(hint);
        QVERIFY(!hint->isVisible());
        QTest::keyClicks(window.firstPassword(), QStringLiteral("abc"));
        QVERIFY(hint->isVisible());
        QCOMPARE(hint->text(), QStringLiteral("Shorter than 6 characters: a password this short is "
                                              "easy to guess."));
        QTest::keyClicks(window.firstPassword(), QStringLiteral("def"));
        QVERIFY(!hint->isVisible());
        // Only a warning: saving is not held back.
        QVERIFY(window.saveButton()->isEnabled());
    }

    void theChangePasswordFieldsWarnAboutTheNewPasswordOnly()
    {
        ChangePasswordFields fields;
        fields.show();
        auto* hint = fields.findChild<ShortPasswordHint*>(QStringLiteral("shortPasswordHint"));
        QVERIFY(hint);
        QVERIFY(!hint->isVisible());
        // The old password typed and no new one: what saving an empty password would do.
        QTest::keyClicks(fields.oldPassword(), QStringLiteral("ab"));
        QVERIFY(hint->isVisible());
        QCOMPARE(hint->text(),
                 QStringLiteral("No new password: any key ends a lock where the order of the keys "
                                "does not matter, and none ever does where it matters."));
        QTest::keyClicks(fields.nextPassword(), QStringLiteral("12345"));
        QVERIFY(hint->isVisible());
        QCOMPARE(hint->text(), QString::fromLatin1(ShortPasswordHint::warning));
        QTest::keyClick(fields.nextPassword(), Qt::Key_6);
        QVERIFY(!hint->isVisible());
        QVERIFY(fields.saveButton()->isEnabled());
    }
};

QTEST_MAIN(TestShortPasswordHint)
#include "test_short_password_hint.moc"
