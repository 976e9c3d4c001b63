#include <QtGui/QtGui>
#include <QtTest/QtTest>
#include <tests/support/rows.h>

// The tour as a user runs it: a process of its own on the sample project.

class tst_studio_tour : public QObject
{
    Q_OBJECT

private slots:
    void everyStepHappens_data()
    {
        columns<QByteArray, QSize>("scale", "size");
        addRow("scale 1", QByteArray("1"), QSize(1280, 800));
        addRow("scale 2", QByteArray("2"), QSize(2560, 1600));
    }

    void everyStepHappens()
    {
        auto [scale, size] = row<QByteArray, QSize>();
        const QString sample = QString(KILN_SOURCE_DIR "/examples/hero");
        const QMap<QString, QByteArray> before = contentsBelow(sample);
        QVERIFY(!before.isEmpty());
        const QTemporaryDir pictures;
        QByteArray told;
        const int code = run({pictures.filePath("made/here"), sample}, scale, &told);
        QVERIFY2(code == 0, told.constData());

        const QDir directory(pictures.filePath("made/here"));
        const QStringList names = directory.entryList({"*.png"}, QDir::Files, QDir::Name);
        QVERIFY2(names.size() >= 10, qPrintable(names.join(' ')));
        QList<QImage> seen;
        for (const QString &name : names) {
            const QImage image(directory.filePath(name));
            QVERIFY2(image.size() == size, qPrintable(name));
            QVERIFY2(!seen.contains(image), qPrintable(name + " shows nothing new"));
            seen.append(image);
        }
        QCOMPARE(contentsBelow(sample), before);
    }

    void missingProjectFails()
    {
        const QTemporaryDir directory;
        QByteArray told;
        const int code =
            run({directory.filePath("pictures"), directory.filePath("nothing")}, "1", &told);
        QVERIFY2(code == 1, told.constData());
    }

private:
    static QMap<QString, QByteArray> contentsBelow(const QString &directory)
    {
        QMap<QString, QByteArray> contents;
        QDirIterator entries(directory, QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            QFile file(entries.next());
            if (file.open(QIODevice::ReadOnly))
                contents.insert(file.fileName(),
                                QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1));
        }
        return contents;
    }

    static int run(const QStringList &arguments, const char *scale, QByteArray *told)
    {
        QProcess studio;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_SCALE_FACTOR", scale);
        studio.setProcessEnvironment(environment);
        studio.setProcessChannelMode(QProcess::MergedChannels);
        studio.start(QString(KILN_BINARY_DIR "/bin/kiln-tour"), arguments);
        const bool ended = studio.waitForFinished(240000);
        *told = studio.readAll();
        return ended && studio.exitStatus() == QProcess::NormalExit ? studio.exitCode() : -1;
    }
};

QTEST_GUILESS_MAIN(tst_studio_tour)
#include "tst_studio_tour.moc"
