#include "shell/LineEditor.h"

#include "shell/Text.h"
#include "workbench/Text.h"

#include <histedit.h>

#include <cstdio>
#include <new>
#include <string_view>

namespace shell {

namespace {

constexpr int REMEMBERED = 1'000;   // lines

}   // namespace

class LineEditor::Impl {
public:
    explicit Impl(Interpreter const& interpreter);
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;
    ~Impl();

    std::optional<std::string> read();

private:
    static char* prompt(EditLine* editor);
    static unsigned char complete(EditLine* editor, int character);

    Interpreter const& interpreter;
    History* past;
    EditLine* editor;
};

LineEditor::LineEditor(Interpreter const& interpreter) : impl{std::make_unique<Impl>(interpreter)} {}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::read()
{
    return impl->read();
}

LineEditor::Impl::Impl(Interpreter const& interpreter)
    : interpreter{interpreter}, past{history_init()}, editor{el_init("studio-shell", stdin, stdout, stderr)}
{
    if (!past || !editor)
        throw std::bad_alloc{};
    HistEvent event;
    history(past, &event, H_SETSIZE, REMEMBERED);
    history(past, &event, H_SETUNIQUE, 1);
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_PROMPT, &Impl::prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_HIST, history, past);
    el_set(editor, EL_ADDFN, "complete-word", "complete verbs, paths and texts", &Impl::complete);
    el_set(editor, EL_BIND, "^I", "complete-word", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

LineEditor::Impl::~Impl()
{
    if (editor)
        el_end(editor);
    if (past)
        history_end(past);
}

std::optional<std::string> LineEditor::Impl::read()
{
    int size = 0;
    char const* const line = el_gets(editor, &size);
    if (!line || size <= 0)
        return std::nullopt;
    std::string_view text(line, static_cast<std::size_t>(size));
    HistEvent event;
    if (text.find_first_not_of(" \t\r\n") != std::string_view::npos)
        history(past, &event, H_ENTER, line);
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    return std::string(text);
}

char* LineEditor::Impl::prompt(EditLine* /*editor*/)
{
    static char text[] = "studio> ";
    return text;
}

unsigned char LineEditor::Impl::complete(EditLine* editor, int /*character*/)
{
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    LineInfo const* const line = el_line(editor);
    std::string_view const before(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
    try {
        Completion const completion = static_cast<Impl*>(self)->interpreter.complete(before);
        if (completion.words.empty())
            return CC_ERROR;
        std::string inserted = commonStart(completion.words).substr(before.size() - completion.begin);
        if (completion.words.size() == 1)
            inserted += ' ';
        if (inserted != printable(inserted) || inserted.find('\n') != std::string::npos)
            return CC_ERROR;   // what the terminal would obey is not inserted
        if (!inserted.empty())
            return el_insertstr(editor, inserted.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
        std::fputc('\n', stdout);
        for (std::string const& word : completion.words)
            std::printf("%s\n", workbench::oneLine(printable(word)).c_str());
        return CC_REDISPLAY;
    } catch (std::exception const&) {
        return CC_ERROR;   // no exception passes through the editor, which is C
    }
}

}   // namespace shell
