// Spark, the smallest engine: a whole one in this file. docs/writing-an-engine.md walks through it.
#include <kilnx/code/codedocument.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/parentproject.h>

#include <QCoreApplication>
#include <QFileInfo>

using namespace Kiln;

namespace
{

bool isName(const QString &text)
{
    const auto fits = [](QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); };
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), fits);
}

/// What the text of a value says: a number, or just text.
QVariant readValue(const QString &text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber ? QVariant(number) : text;
}

/// The text that reads back as `value`: one line, without the sign that opens a comment.
QString writeValue(const QVariant &value)
{
    return value.toString().replace(QLatin1Char('#'), QLatin1Char(' ')).simplified();
}

QString entry(const QString &name, const QVariant &value)
{
    return name + QLatin1String(" = ") + writeValue(value);
}

/// A line "name = value".
class SparkValue : public ValueCode
{
public:
    SparkValue(CodeNode *previous, const QString &name, const QVariant &value)
        : ValueCode(previous, Plain, value)
        , m_name(name)
    {
    }
    QString name() const override { return m_name; }
    QString displayName() const override { return entry(m_name, rawValue()); }
    QString valueText() const override { return writeValue(rawValue()); }
    QString enumText(unsigned int) const override { return QString(); }
    // Text is the master: setters write the line, and the parser brings the value back.
    void setValue(const QVariant &value) override { change(entry(m_name, value)); }
    void setName(const QString &name) override
    {
        if (isName(name))
            change(entry(name, rawValue()));
    }
    // The base stores the value, and the base's base tells the container and the model.
    void valueChanged(const QVariant &value) override
    {
        ValueCode::valueChanged(value);
        CodeNode::valueChanged(value);
    }
    /// For the parser: the line says this now.
    void take(const QString &name, const QVariant &value)
    {
        if (std::exchange(m_name, name) != name || rawValue() != value)
            valueChanged(value);
    }

private:
    QString m_name;
};

/// A line "[name]", which holds the values below it.
class SparkSection : public GroupCode
{
public:
    SparkSection(CodeNode *previous, const QString &name)
        : GroupCode(previous, 1)
        , m_name(name)
    {
        insertRootChild(this);
    }
    QString name() const override { return m_name; }
    QString headerText() const override { return QLatin1Char('[') + m_name + QLatin1Char(']'); }
    void setName(const QString &name) override
    {
        if (isName(name))
            change(QLatin1Char('[') + name + QLatin1Char(']'));
    }
    bool addValue(const QString &name, const QVariant &value) override
    {
        if (!isName(name))
            return false;
        const CodeNode *last = childCount() ? childAt(childCount() - 1) : this;
        document()->insertAfter(last, entry(name, value), true);
        return true;
    }
    /// For the parser: the line says this now.
    void take(const QString &name)
    {
        if (std::exchange(m_name, name) != name)
            valueChanged(name);
    }

private:
    QString m_name;
};

/// What one line says, without regard to the others.
struct SparkLine {
    explicit SparkLine(const QString &text)
        : comment(text.indexOf(QLatin1Char('#')))
        , code(text.left(comment).trimmed())
        , begin(text.indexOf(code))
        , isHeader(code.startsWith(QLatin1Char('[')) && code.endsWith(QLatin1Char(']')))
    {
        name = isHeader ? code.mid(1, code.size() - 2) : code.section(QLatin1Char('='), 0, 0);
        name = name.trimmed();
        value = code.section(QLatin1Char('='), 1).trimmed();
        isWhole = isName(name) && (isHeader || !value.isEmpty());
    }
    int comment; ///< where it starts, -1 without one
    QString code;
    int begin; ///< of the code
    bool isHeader;
    bool isWhole; ///< whether the line is "[name]" or "name = value"
    QString name;
    QString value;
};

/// One line in; its node, colours and messages out. It keeps nothing between two calls.
class SparkParser : public CodeParser
{
    Q_DECLARE_TR_FUNCTIONS(SparkParser)

public:
    CodeNode *parse(const QString &text,
                    CodeNode *old,
                    CodeNode *previous,
                    RootCode *,
                    CodeParserSyntax *syntax) override
    {
        const SparkLine line(text);
        // The node before is the header above or one of its values: nothing has to be searched.
        CodeNode *section = previous->type() == CodeNode::Group ? previous : previous->parent();
        if (section && section->type() != CodeNode::Group)
            section = nullptr;
        if (syntax) // Null where nobody looks.
            paint(line, text.size(), section, *syntax);
        if (!line.isWhole || !(line.isHeader || section))
            return nullptr;
        return line.isHeader ? header(line, old, previous) : value(line, old, previous, section);
    }

private:
    // A line that is the same kind in the same place keeps its node, and so views keep their rows.
    static CodeNode *header(const SparkLine &line, CodeNode *old, CodeNode *previous)
    {
        if (!old || old->type() != CodeNode::Group)
            return new SparkSection(previous, line.name);
        static_cast<SparkSection *>(old)->take(line.name);
        return old;
    }

    static CodeNode *
    value(const SparkLine &line, CodeNode *old, CodeNode *previous, CodeNode *section)
    {
        const QVariant value = readValue(line.value);
        auto *node = dynamic_cast<SparkValue *>(old);
        if (!node || node->parent() != section)
            return new SparkValue(previous, line.name, value);
        node->take(line.name, value);
        return node;
    }

    static void paint(const SparkLine &line, int size, bool isInSection, CodeParserSyntax &syntax)
    {
        const int end = line.begin + line.code.size();
        const auto error = [&](const QString &message) {
            syntax.setError(CodeParserSyntax::Invalid, message, line.begin, end);
        };
        if (line.comment >= 0)
            syntax.setToken(CodeParserSyntax::Comment, line.comment, size);
        if (!line.isWhole && !line.code.isEmpty())
            error(tr("'[name]' or 'name = value' expected"));
        else if (line.isHeader)
            syntax.setToken(CodeParserSyntax::Section, line.begin, end);
        else if (line.isWhole && isInSection)
            syntax.setToken(CodeParserSyntax::Name, line.begin, line.begin + line.name.size());
        else if (line.isWhole)
            error(tr("A value needs a section above it"));
        for (int i = 0; i < line.code.size(); ++i) {
            const int sign = QStringLiteral("[({])}").indexOf(line.code.at(i));
            if (sign >= 0)
                syntax.addParenthesis(sign < 3, line.code.at(i), line.begin + i);
        }
    }
};

/// A file of Spark: a definition, "*.spark", or further sections of one, "*.tune".
class SparkDocument : public CodeDocument
{
public:
    SparkDocument()
        : CodeDocument(Project::Game)
    {
        static SparkParser parser;
        followHostOptions();
        setParser(&parser);
    }
    QString language() const override { return QStringLiteral("Spark"); }
    void release() override { delete this; }

protected:
    int foldingKind(const QString &line) override
    {
        const SparkLine read(line);
        return read.isHeader ? 1 + 4 : read.code.isEmpty() ? 0 : 2;
    }
};

/// A definition and the files that it names: each value "include" of a section.
class SparkProject : public Project
{
public:
    static bool open(ParentProject *parent, const QString &fileName)
    {
        auto *definition = new SparkDocument;
        auto *project = new SparkProject(parent, definition, FileID::Definition);
        const bool isOpen = definition->fromFile(parent->archive(), fileName, false);
        if (isOpen)
            project->addToParent();
        else
            project->release();
        return isOpen;
    }
    QString displayName() override { return QFileInfo(fileName()).completeBaseName(); }
    QSize stageSize() override { return QSize(320, 240); }
    QSizeF stageScale() override { return QSizeF(1, 1); }
    void fileList(QList<ReferencedFile> &out) override
    {
        const auto *definition = dynamic_cast<SparkDocument *>(file(FileID::Definition));
        for (CodeNode *node : definition ? definition->childs() : QList<CodeNode *>()) {
            for (ValueCode *value : static_cast<SparkSection *>(node)->values()) {
                const QString path = value->rawValue().toString();
                if (value->name() == QLatin1String("include") && isTuning(path))
                    out.append({FileID::Code, path});
            }
        }
    }
    void engineReserved1() override {}
    void engineReserved6() override {}
    void engineReserved12() override {}
    void engineReserved13() override {}
    void engineReserved14() override {}

private:
    using Project::Project;
    static bool isTuning(const QString &path)
    {
        return QDir::isRelativePath(path) && path.endsWith(QLatin1String(".tune"));
    }
};

class SparkEngine : public Engine
{
public:
    static SparkEngine &instance()
    {
        static SparkEngine engine(QStringLiteral("spark"));
        return engine;
    }
    char commentCharacter() const override { return '#'; }
    QString displayName() const override { return QStringLiteral("Spark"); }
    QString executable() const override { return QStringLiteral("spark-game"); }
    QString fileFilter() const override { return QStringLiteral("Spark (*.spark)"); }
    QMap<int, QString> singleFileFilters() const override
    {
        return {{Project::FileID::Code, QStringLiteral("*.tune")}};
    }
    ProjectFile *createFile(Project::FileID::Type type, Project *) override
    {
        return type == Project::FileID::Code ? new SparkDocument : nullptr;
    }

private:
    using Engine::Engine;
};

/// A directory with definitions. It goes with the last of its projects.
class SparkDirectory : public ParentProject
{
public:
    using ParentProject::ParentProject;
    Engine *engine() override { return &SparkEngine::instance(); }
    void collectFiles(const QString &, QStringList &) override {}
    bool prepareRun(QString &executable, QStringList &) override
    {
        if (isGame())
            executable = basePath() + engine()->executable();
        return true;
    }
    void release() override { delete this; }
};

/// What the library shows to hosts: the engine, and how it opens what the user chose.
class SparkPlugin : public EnginePlugin
{
public:
    Engine &engine() override { return SparkEngine::instance(); }
    /// `path` is a definition, or a directory: then each definition in it is opened.
    ParentProject *openProject(const QString &path) override
    {
        const QFileInfo chosen(path);
        const QDir directory = chosen.isDir() ? QDir(path) : chosen.dir();
        const QStringList names = directory.entryList({QStringLiteral("*.spark")}, QDir::Files);
        auto *parent = new SparkDirectory(directory.absolutePath(), FileSystemArchive::instance());
        for (const QString &name : names) {
            if (chosen.isDir() || name == chosen.fileName())
                SparkProject::open(parent, parent->basePath() + name);
        }
        if (parent->refCount() > 0)
            return parent;
        parent->release();
        return nullptr;
    }
    QStringList newProjectStarts() const override
    {
        return {QCoreApplication::translate("SparkPlugin", "a game with one section")};
    }
    bool makeProject(const QString &directory, const QString &name, int) override
    {
        auto *definition = new SparkDocument;
        definition->fromString(QLatin1String("[game]\ntitle = ") + name + QLatin1Char('\n'));
        const QString fileName = directory + QLatin1Char('/') + name + QLatin1String(".spark");
        const bool isMade = definition->toFile(FileSystemArchive::instance(), fileName, true);
        definition->release();
        return isMade;
    }
};
} // namespace

KILNX_ENGINE(SparkPlugin)
