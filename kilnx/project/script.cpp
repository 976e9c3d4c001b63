#include <kilnx/project/script.h>

#include <kilnx/project/engine.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/project.h>
#include <kilnx/project/projectfile.h>

namespace Kiln
{

namespace
{

QString enginePath(const Engine &engine)
{
    Interface *host = Interface::instance();
    return (host ? host->dataPath() : QString()) + engine.enginePath();
}

sol::table singleFileFilters(const Engine &engine, sol::this_state state)
{
    sol::table table(state, sol::create);
    const QMap<int, QString> filters = engine.singleFileFilters();
    for (auto filter = filters.begin(); filter != filters.end(); ++filter)
        table[filter.key()] = filter.value();
    return table;
}

ProjectFile *createFile(Engine &engine, unsigned int type, Project *project)
{
    return engine.createFile(static_cast<Project::FileID::Type>(type), project);
}

} // namespace

void registerScriptClasses(sol::table &target)
{
    target.new_enum<Project::Type>("ProjectType", {{"Character", Project::Character},
                                                   {"Background", Project::Background},
                                                   {"Font", Project::Font},
                                                   {"Scene", Project::Scene},
                                                   {"Motif", Project::Motif},
                                                   {"Level", Project::Level},
                                                   {"Game", Project::Game}});
    target.new_usertype<Engine>("Engine", sol::no_constructor, "path",
                                sol::readonly_property(&enginePath), "commentCharacter",
                                sol::readonly_property(&Engine::commentCharacter), "displayName",
                                sol::readonly_property(&Engine::displayName), "executable",
                                sol::readonly_property(&Engine::executable), "fileFilter",
                                sol::readonly_property(&Engine::fileFilter), "singleFileFilters",
                                &singleFileFilters, "createFile", &createFile);
}

} // namespace Kiln
