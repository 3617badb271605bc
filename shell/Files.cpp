#include "shell/Files.h"

#include "workbench/Json.h"
#include "workbench/Writer.h"
#include "workbench/sample/Sample.h"

namespace shell {

Material DiskFiles::load(std::string const& expressions, std::string const& session)
{
    std::vector<workbench::Expression> texts = workbench::loadExpressions(expressions);
    std::size_t const count = texts.size();
    return {session, std::move(texts), workbench::loadRecording(session, count), {}};
}

Material DiskFiles::sample()
{
    return {"sample, a day at a small editor", workbench::sample::expressions(), workbench::sample::day(),
            workbench::sample::reasons()};
}

void DiskFiles::write(std::string const& name, std::string const& text)
{
    if (!overwrites && !workbench::presentAmong({name}).empty())
        throw workbench::DocumentError(name, "cannot be written", "it is already there; --force overwrites");
    workbench::writeFiles({{name, text}}, overwrites ? workbench::Existing::Replace : workbench::Existing::Keep);
}

}   // namespace shell
