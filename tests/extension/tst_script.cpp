#include <ember/emberparentproject.h>
#include <ember/embersounds.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/projectfile.h>
#include <kilnx/project/script.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>

#include <QtTest/QtTest>

#include <memory>

using namespace Kiln;

namespace
{

const QString utf8Name = QString::fromUtf8("\xc3\x96"
                                           "fen \xe2\x98\x83 \xf0\x9f\x94\xa5");

// Describes itself, notes what it is asked to create, and counts itself.
class ScriptedEngine : public Engine
{
public:
    ScriptedEngine()
        : Engine("scripted")
    {
        ++alive;
    }
    ~ScriptedEngine() override { --alive; }

    char commentCharacter() const override { return ';'; }
    QString displayName() const override { return utf8Name; }
    QString executable() const override { return QString("game"); }
    QString fileFilter() const override { return QString("Definitions (*.def)"); }
    QMap<int, QString> singleFileFilters() const override { return {{4, "*.snd"}, {16, utf8Name}}; }
    ProjectFile *createFile(Project::FileID::Type type, Project *project) override
    {
        asked.append({type, project});
        return type == Project::FileID::Sounds ? file : nullptr;
    }

    ProjectFile *file = nullptr;
    QList<QPair<unsigned int, Project *>> asked;
    static inline int alive = 0;
};

} // namespace

class TestScript : public QObject
{
    Q_OBJECT

private slots:
    void scriptReadsEverything()
    {
        TestHost host;
        host.dataDirectory = QString("/data");
        ScriptedEngine engine;
        const QTemporaryDir directory;
        EmberParentProject *parent = EmberParentProject::create(
            directory.path(), FileSystemArchive::instance(), EmberDocument::Character);
        Project *project = parent->openedProjects().first();
        auto *sounds = new EmberSounds;
        engine.file = sounds;

        sol::state lua;
        lua.open_libraries();
        registerScriptClasses(lua);
        lua["engine"] = static_cast<Engine *>(&engine);
        lua["project"] = project;
        const sol::protected_function_result run = lua.safe_script_file(
            KILN_SOURCE_DIR "/tests/extension/engine.lua", sol::script_pass_on_error);
        if (!run.valid()) {
            const sol::error error = run;
            QFAIL(error.what());
        }

        const sol::table found = lua["found"];
        QCOMPARE(found.get<QString>("path"), "/data/engines/scripted");
        QCOMPARE(found.get<QString>("commentCharacter"), ";");
        QCOMPARE(found.get<QString>("displayName"), utf8Name);
        QCOMPARE(found.get<QString>("executable"), "game");
        QCOMPARE(found.get<QString>("fileFilter"), "Definitions (*.def)");
        const sol::table filters = found["filters"];
        QCOMPARE(filters.get<QString>(4), "*.snd");
        QCOMPARE(filters.get<QString>(16), utf8Name);
        QCOMPARE(found.get<ProjectFile *>("file"), static_cast<ProjectFile *>(sounds));
        QVERIFY(!found["noFile"].valid());
        const QList<QPair<unsigned int, Project *>> asked{{4, project}, {2, nullptr}};
        QCOMPARE(engine.asked, asked);

        const sol::table errors = found["errors"];
        QVERIFY(errors.get<QString>(1).endsWith(
            "sol: cannot modify the elements of an enumeration table"));
        const QLatin1String readOnly("sol: cannot write to a readonly property");
        QVERIFY(errors.get<QString>(2).contains(readOnly));
        QVERIFY(errors.get<QString>(3).contains(readOnly));
        sounds->release();
        parent->close();
    }

    void publishesInAnyTable()
    {
        sol::state lua;
        lua.open_libraries(sol::lib::base);
        sol::table module = lua.create_named_table("kiln");
        registerScriptClasses(module);
        QCOMPARE(lua.script("return kiln.ProjectType.Game").get<int>(), 6);
        QVERIFY(!lua["ProjectType"].valid());
        QVERIFY(!lua["Engine"].valid());
        // Once more is harmless.
        registerScriptClasses(lua);
        QCOMPARE(lua.script("return ProjectType.Font").get<int>(), 2);
    }

    void textsCrossInUtf8_data()
    {
        columns<QString>("text");
        addRow("empty", "");
        addRow("plain", "ember");
        addRow("two, three and four bytes", utf8Name);
        addRow("with a zero in it", QString::fromLatin1("a\0b", 3));
    }

    void textsCrossInUtf8()
    {
        QFETCH(QString, text);
        sol::state lua;
        lua["text"] = text;
        QCOMPARE(lua.get<QString>("text"), text);
        QCOMPARE(lua.get<std::string>("text"), text.toStdString());
        lua.script("size = #text");
        QCOMPARE(lua.get<int>("size"), text.toUtf8().size());
        lua["text"] = true;
        QVERIFY(!lua["text"].is<QString>());
    }

    void stateAndEngineEndInAnyOrder()
    {
        {
            auto engine = std::make_unique<ScriptedEngine>();
            sol::state lua;
            registerScriptClasses(lua);
            lua["engine"] = static_cast<Engine *>(engine.get());
            engine.reset(); // before the state
            QCOMPARE(ScriptedEngine::alive, 0);
        }
        ScriptedEngine engine;
        {
            sol::state lua;
            registerScriptClasses(lua);
            lua["engine"] = static_cast<Engine *>(&engine);
            lua.collect_garbage();
        }
        QCOMPARE(ScriptedEngine::alive, 1);
        {
            sol::state lua;
            registerScriptClasses(lua);
            lua["engine"] = std::unique_ptr<Engine>(new ScriptedEngine); // the state's own
            QCOMPARE(ScriptedEngine::alive, 2);
            lua["engine"] = sol::lua_nil;
            lua.collect_garbage();
            QCOMPARE(ScriptedEngine::alive, 1);
        }
    }
};

QTEST_MAIN(TestScript)

#include "tst_script.moc"
