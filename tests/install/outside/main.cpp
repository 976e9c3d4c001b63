// A program as an outside author writes it: an engine's document on the installed library.
#include <kilnx/kilnx.h>

#include <QtGui/QGuiApplication>

#include <cstdio>

namespace
{

class Notes : public Kiln::CodeDocument
{
public:
    QString language() const override { return QStringLiteral("Notes"); }
    void release() override { delete this; }

protected:
    int foldingKind(const QString &line) override { return line.startsWith('#') ? 1 : 0; }
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "minimal");
    QGuiApplication application(argc, argv);

    auto *notes = new Notes;
    notes->fromString(QStringLiteral("# one\ntwo"));
    notes->insert(QStringLiteral("\nthree"));
    const bool kept = notes->toString() == QLatin1String("# one\ntwo\nthree");
    notes->undo();
    const bool undone = notes->toString() == QLatin1String("# one\ntwo");
    notes->release();

    const bool texts = Kiln::KilnTranslator::instance()->text(16) == QLatin1String("Go to line...");
    if (!kept || !undone || !texts) {
        std::fprintf(stderr, "document %d, undo %d, texts %d\n", kept, undone, texts);
        return 1;
    }
    return 0;
}
