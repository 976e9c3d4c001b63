// The "game" of the sample engine: it tells what it was given. Kiln Studio starts it with
// "Run in engine" and shows what it prints.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace
{

/// Prints a definition's name and how many sections it has.
void load(const std::string &fileName)
{
    std::ifstream file(fileName);
    if (!file) {
        std::cout << "cannot open " << fileName << '\n';
        return;
    }
    int sections = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.find_first_not_of(" \t") != std::string::npos &&
            line[line.find_first_not_of(" \t")] == '@')
            ++sections;
    }
    std::cout << "loaded " << fileName << ", " << sections << " sections\n";
}

} // namespace

int main(int argc, char **argv)
{
    std::cout << "Ember game\n";
    for (int i = 1; i < argc; ++i)
        std::cout << "argument " << argv[i] << '\n';
    const char *list = std::getenv("EMBER_DEFINITIONS");
    if (!list) {
        std::cout << "no project\n";
        return 0;
    }
    std::ifstream names(list);
    for (std::string name; std::getline(names, name);)
        load(name);
    return 0;
}
