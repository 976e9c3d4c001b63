-- Reads all that the library publishes, as an engine's script does. The host has set `engine` and
-- `project`; what is found is left in `found` for the test.

local types = { "Character", "Background", "Font", "Scene", "Motif", "Level", "Game" }
for value, name in ipairs(types) do
    assert(ProjectType[name] == value - 1, name)
end

found = {
    path = engine.path,
    commentCharacter = engine.commentCharacter,
    displayName = engine.displayName,
    executable = engine.executable,
    fileFilter = engine.fileFilter,
    filters = engine:singleFileFilters(),
    file = engine:createFile(4, project),
    noFile = engine:createFile(2, nil),
    errors = {},
}

-- Each call gives a table of its own.
engine:singleFileFilters()[4] = "changed"

local function errorOf(call)
    local ok, message = pcall(call)
    assert(not ok, "no error")
    table.insert(found.errors, message)
end

errorOf(function() ProjectType.Game = 7 end)
errorOf(function() engine.path = "/elsewhere" end)
errorOf(function() engine.displayName = 5 end)
assert(ProjectType.Game == 6)

-- Mistakes are errors, too.
assert(not pcall(function() return Engine.new() end))
assert(not pcall(function() return Engine() end))
assert(not pcall(function() return engine.singleFileFilters() end))
assert(not pcall(function() return engine.singleFileFilters({}) end))
assert(not pcall(function() return engine:createFile("sounds", project) end))
assert(not pcall(function() return engine:createFile(4, engine) end))
assert(not pcall(function() return engine:createFile(4, 17) end))
assert(engine.somethingElse == nil)
