// The expression language without contexts: a filter that people type, over records of one's own.

#include "gel/DataSource.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "gel/Value.h"

#include <iostream>
#include <string>
#include <vector>

struct File {
    std::string name;
    double bytes;
    bool hidden;
};

/// The fields of a file as symbols of a filter. Only those that the result needs are looked up, each once.
class FileSource final : public gel::DataSource {
public:
    explicit FileSource(File const& file) : file{file} {}

    gel::Value lookup(std::string const& symbol) const override
    {
        if (symbol == "name")
            return file.name;
        if (symbol == "size.bytes")
            return file.bytes;
        if (symbol == "hidden")
            return file.hidden;
        return {};   // undefined
    }

private:
    File const& file;
};

/// The filter, or nothing but a message when it does not parse or names what no file has.
void list(std::vector<File> const& files, std::string const& filter)
try {
    gel::Program const program{filter};   // parsed once, evaluated for each file
    std::cout << filter << '\n';
    for (std::string const& symbol : program.symbols())
        if (symbol != "name" && symbol != "size.bytes" && symbol != "hidden")
            std::cout << "  (nothing is called " << symbol << ")\n";
    for (File const& file : files) {
        gel::Value const answer = program.eval(FileSource{file});
        if (answer.isLogical() && answer.getBool())
            std::cout << "  " << file.name << '\n';
    }
} catch (gel::ParseError const& error) {
    std::cout << error.what() << '\n' << error.excerpt() << '\n';
}

int main()
{
    std::vector<File> const files{
        {"notes.txt", 1200, false}, {"build.log", 250'000, false}, {".cache", 9'000'000, true}};
    list(files, "size.bytes > 1000 && !hidden");
    list(files, "name =~ /\\.(txt|log)$/ || size.bytes >= 1000000");
    list(files, "(owner ?? 'nobody') == 'nobody' && hidden");
    list(files, "size.bytes > 1000 &&& hidden");
}
