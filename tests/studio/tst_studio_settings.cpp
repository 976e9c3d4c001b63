#include <hostkit/dialogplaces.h>
#include <hostkit/settings.h>
#include <hostkit/theme.h>
#include <studiostyle.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <cmath>

using HostKit::Settings;
using HostKit::Theme;

namespace
{

// Relative luminance and contrast as the Web Content Accessibility Guidelines 2.1 define them.
double luminance(const QColor &color)
{
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const double a = luminance(one);
    const double b = luminance(other);
    return (qMax(a, b) + 0.05) / (qMin(a, b) + 0.05);
}

} // namespace

class tst_studio_settings : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
    }

    void valuesAreFoundAgainByAnotherStart_data()
    {
        columns<QVariant>("value");
        addRow("false", QVariant(false));
        addRow("negative number", QVariant(-12));
        addRow("text with a comma and quotes", QVariant(QStringLiteral("a, \"b\" = ü")));
        addRow("list of paths", QVariant(QStringList{"/a b", "/c,d"}));
        addRow("rectangle", QVariant(QRect(-3, 4, 50, 60)));
        addRow("bytes", QVariant(QByteArray("\0\1\xff", 3)));
    }

    void valuesAreFoundAgainByAnotherStart()
    {
        QFETCH(QVariant, value);
        {
            Settings settings(fileName());
            settings.setValue("group/key", value);
            QCOMPARE(settings.value("group/key"), value);
        }
        Settings again(fileName());
        QVariant read = again.value("group/key");
        QVERIFY(read.convert(int(value.type())));
        QCOMPARE(read, value);
    }

    void storedBeatsDefaultBeatsFallback()
    {
        Settings settings(fileName());
        QCOMPARE(settings.value("no_such_key", 7), QVariant(7));
        QVERIFY(!settings.value("no_such_key").isValid());
        QVERIFY(settings.value("parseCode", false).toBool());
        settings.setValue("parseCode", false);
        QVERIFY(!settings.value("parseCode", true).toBool());
        settings.setValue("parseCode", QVariant());
        QVERIFY(settings.value("parseCode", false).toBool());
        // What nobody can read is not what anybody chose.
        for (const auto &[written, read] :
             {std::pair("100000", 72), {"-3", 5}, {"x", 5}, {"11", 11}}) {
            settings.setValue("font_size", written);
            settings.sync();
            QCOMPARE(Settings(fileName()).value("font_size").toInt(), read);
        }
    }

    void recentProjectsAreNewestFirstAndFew()
    {
        {
            Settings settings(fileName());
            for (int i = 0; i < 14; ++i)
                settings.addRecentProject(QStringLiteral("/p/%1").arg(i));
            QSignalSpy told(&settings, &Settings::recentChanged);
            settings.addRecentProject("/p/9/");
            settings.removeRecentProject("/p/12/");
            QCOMPARE(told.count(), 2);
            settings.addRecentProject("/p/9");
            settings.removeRecentProject("/p/12");
            QCOMPARE(told.count(), 2);
            // Two hosts at once keep each other's.
            Settings other(fileName());
            settings.addRecentProject("/p/14");
            other.addRecentProject("/p/15");
            settings.removeRecentProject("/p/14");
            other.removeRecentProject("/p/15");
            settings.removeRecentProject("/p/12");
        }
        Settings again(fileName());
        QCOMPARE(again.recentProjects(),
                 (QStringList{"/p/9", "/p/13", "/p/11", "/p/10", "/p/8", "/p/7", "/p/6", "/p/5"}));
    }

    void dialogsOpenWhereTheyWereLeft()
    {
        QRect left(120, 90, 333, 222);
        const auto showsThere = [&](QDialog &&dialog, const char *name) {
            Settings settings(fileName());
            HostKit::DialogPlaces places(settings);
            dialog.setObjectName(name);
            dialog.show();
            const bool isThere = dialog.geometry() == left;
            dialog.setGeometry(left);
            dialog.close();
            return isThere;
        };
        for (const bool isLater : {false, true}) {
            QCOMPARE(showsThere(QDialog(), "search"), isLater);
            QVERIFY(!showsThere(QDialog(), ""));
            QVERIFY(!showsThere(QMessageBox(), "box"));
        }
        // Of a screen that was larger.
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        for (const QRect &place :
             {screen.adjusted(300, 200, 900, 600), screen.translated(-400, -300)}) {
            QDialog large;
            large.setGeometry(place);
            QDialog again;
            QVERIFY(HostKit::restorePlace(&again, large.saveGeometry()));
            QVERIFY(screen.contains(again.geometry()));
        }
        // What was torn, as on a full disk, is nothing rather than nonsense.
        const QByteArray state = QDialog().saveGeometry();
        const QByteArray sealed = HostKit::sealed(state);
        QCOMPARE(HostKit::unsealed(sealed), state);
        for (int size = 0; size < sealed.size(); ++size)
            QCOMPARE(HostKit::unsealed(sealed.left(size)), QByteArray());
    }

    void codeIsReadable_data()
    {
        columns<QString, bool>("themeName", "dark");
        addRow("light", "light", false);
        addRow("dark", "dark", true);
    }

    void codeIsReadable()
    {
        const auto [themeName, dark] = row<QString, bool>();
        Settings settings(fileName());
        settings.setValue("theme", themeName);
        const Theme theme(settings);
        theme.apply();
        QCOMPARE(Theme::isDark(), dark);
        const QPalette palette = QApplication::palette();
        // The block around the cursor stands out by 40 on a dark ground and by 30 on a light one.
        const QColor block = theme.color(QStringLiteral("block_range"));
        const int shift = dark ? 40 : -30;
        const QColor innermost(block.red() + shift, block.green() + shift, block.blue() + shift);
        QVERIFY(contrast(Qt::white, theme.color(QStringLiteral("paren_error"))) >= 4.5);
        QVERIFY(Theme::entries().contains(QLatin1String("paren_error")));
        for (const QColor &ground :
             {palette.color(QPalette::Base), theme.color(QStringLiteral("line")),
              theme.color(QStringLiteral("paren_range")), innermost}) {
            for (int token = 0; token < 10; ++token) {
                const QColor color = theme.color(QStringLiteral("token%1").arg(token));
                QVERIFY2(contrast(color, ground) >= 4.5,
                         qPrintable(QStringLiteral("token %1 %2 on %3: %4")
                                        .arg(token)
                                        .arg(color.name(), ground.name())
                                        .arg(contrast(color, ground))));
            }
        }
        for (const auto &pair : {qMakePair(QPalette::WindowText, QPalette::Window),
                                 qMakePair(QPalette::ButtonText, QPalette::Button),
                                 qMakePair(QPalette::Text, QPalette::AlternateBase),
                                 qMakePair(QPalette::PlaceholderText, QPalette::Base),
                                 qMakePair(QPalette::ToolTipText, QPalette::ToolTipBase),
                                 qMakePair(QPalette::HighlightedText, QPalette::Highlight)})
            QVERIFY(contrast(palette.color(pair.first), palette.color(pair.second)) >= 4.5);
        // An empty box is seen, too.
        Studio::StudioStyle style;
        QStyleOptionButton box;
        box.palette = palette;
        box.rect = QRect(1, 1, 14, 14);
        box.state = QStyle::State_Enabled | QStyle::State_Off;
        QImage drawn(16, 16, QImage::Format_RGB32);
        drawn.fill(palette.color(QPalette::Window));
        QPainter painter(&drawn);
        style.drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, &painter);
        QVERIFY(contrast(drawn.pixelColor(8, 1), drawn.pixelColor(8, 0)) >= 3);
    }

    void ownColorsBelongToOneTheme()
    {
        Settings settings(fileName());
        const Theme theme(settings);
        settings.setValue("theme", "light");
        theme.apply();
        const QColor delivered = theme.color("token3");
        settings.setValue(Theme::colorKey("token3"), "#123456");
        QCOMPARE(theme.color("token3"), QColor("#123456"));
        settings.setValue("theme", "dark");
        theme.apply();
        QVERIFY(theme.color("token3") != QColor("#123456"));
        settings.setValue("theme", "light");
        theme.apply();
        settings.setValue(Theme::colorKey("token3"), "no colour");
        QCOMPARE(theme.color("token3"), delivered);
        QCOMPARE(theme.color("paren", true), theme.color("paren2"));
        QVERIFY(theme.color("no_such_entry").isValid());
    }

private:
    QString fileName() const { return m_directory->filePath("studio.ini"); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

QTEST_MAIN(tst_studio_settings)
#include "tst_studio_settings.moc"
