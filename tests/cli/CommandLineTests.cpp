#include "CliFixture.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>

namespace orvo::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::vector<std::string> commands{"list", "show", "import", "duplicate", "delete", "validate", "cut", "restore",
    "undo", "redo", "text", "image", "zoom", "remove", "set", "words", "suggest", "apply", "subtitles", "export", "package",
    "publish", "unpublish", "settings"};

class CommandLine : public CliFixture { };

/// Whether a text is free of the parsing library's English words and placeholders.
testing::AssertionResult isSpanish(const std::string& text)
{
    static const std::regex english(
        R"(\b(usage|options?|required|requires|positionals?|subcommands?|expected|argument|arguments|unexpected|run with|help message|print|exit|version \d)\b)",
        std::regex::icase);
    static const std::regex placeholders(R"(\b(TEXT|INT|FLOAT|ENUM)\b)");
    std::smatch found;
    if (std::regex_search(text, found, english) || std::regex_search(text, found, placeholders))
        return testing::AssertionFailure() << "«" << found.str() << "» in:\n" << text;
    return testing::AssertionSuccess();
}

TEST_F(CommandLine, CompletesCommandsOptionsValuesAndProjects)
{
    struct Case {
        std::vector<std::string> words;
        std::string expected;
    };
    const std::string small = "00000000-0000-4000-8000";
    const Case cases[]{
        {{"unp"}, "unpublish\tRetira el vídeo de tu servidor.\n"},
        {{"export", "--qual"},
            "--quality\tsmall (menor peso), balanced (equilibrada) o high (alta); balanced si no se indica.\n"},
        {{"export", "--quality", ""}, "small\nbalanced\nhigh\n"},
        {{"--json", "export", "--height", "720", small.substr(0, 3)}, project.id.text() + "\t" + project.title + "\n"},
        {{"export", id, ""}, ":files\n"},
        {{"package", id, ""}, ":folders\n"},
        {{"set", id, "volume.m"}, "volume.microphone\n"},
        {{"set", id, "title", ""}, ""},
    };
    for (const auto& [words, expected] : cases) {
        std::vector<std::string> line{"--complete"};
        line.insert(line.end(), words.begin(), words.end());
        EXPECT_EQ(orvo(line).out, expected) << words.back();
    }
}

TEST_F(CommandLine, CompletesEveryCommandAndOptionInTheHelp)
{
    const std::string offered = orvo({"--complete", ""}).out;
    const std::string manual = orvo({"--manual"}).out;
    static const std::regex option(R"(--[a-z][a-z-]+)");
    for (const auto& command : commands) {
        EXPECT_THAT("\n" + offered, HasSubstr("\n" + command + "\t"));
        EXPECT_THAT(manual, HasSubstr(".SS orvo " + command + "\n"));
        const std::string help = orvo({command, "--help"}).out;
        const std::string options = orvo({"--complete", command, "--"}).out;
        for (std::sregex_iterator name(help.begin(), help.end(), option), end; name != end; ++name) {
            EXPECT_TRUE(name->str() == "--help" || ("\n" + options).contains("\n" + name->str() + "\t"))
                << command << " " << name->str();
        }
    }
}

TEST_F(CommandLine, CompletesInTheShell)
{
    struct Case {
        std::string words;
        std::string expected;
    };
    std::ofstream(folder / "clase uno.mp4") << "x";
    const Case cases[]{
        {"orvo unp", "unpublish"},
        {"orvo export --quality s", "small"},
        {"orvo import " + (folder / "cla").string(), (folder / "clase uno.mp4").string()},
    };
    Program::Setup bash = setup;
    bash.executable = "/bin/bash";
    bash.environment["PATH"] = orvoProgram().parent_path().string() + ":/usr/bin:/bin";
    for (const auto& [words, expected] : cases) {
        const Outcome outcome =
            run({"-c",
                    "compopt() { :; }; source " ORVO_SOURCE "/packaging/completions/orvo.bash; COMP_WORDS=(" + words
                        + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orvo; printf '%s\n' \"${COMPREPLY[@]}\""},
                bash);
        EXPECT_EQ(outcome.out, expected + "\n") << outcome.err;
    }
}

TEST_F(CommandLine, KeepsTheReferencePageUpToDate)
{
    const std::string mark = "<!-- Lo que sigue lo escribe ./dev golden; no se edita a mano. -->\n\n";
    const std::filesystem::path page = ORVO_SOURCE "/docs/orden-orvo.md";
    const std::string text = readFile(page);
    const auto generated = text.find(mark);
    ASSERT_NE(generated, std::string::npos);
    const std::string expected = text.substr(0, generated) + mark + orvo({"--reference"}).out;
    if (std::getenv("ORVO_UPDATE_GOLDEN"))
        writeFileAtomically(page, expected);
    else
        EXPECT_TRUE(text == expected) << "docs/orden-orvo.md differs from orvo --reference; ./dev golden rewrites it";
}

TEST_F(CommandLine, ShowsSpanishHelpForEveryCommand)
{
    const Outcome all = orvo({"--help"});
    EXPECT_EQ(all.status, 0);
    EXPECT_TRUE(isSpanish(all.out));
    EXPECT_THAT(all.out, HasSubstr("Estado de salida"));
    for (const auto& command : commands) {
        EXPECT_THAT(all.out, HasSubstr("\n  " + command + " ")) << "listed";
        const Outcome help = orvo({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, HasSubstr("Uso: orvo " + command));
        EXPECT_THAT(help.out, HasSubstr("--library CARPETA"));
        EXPECT_TRUE(isSpanish(help.out));
        EXPECT_THAT(help.err, IsEmpty());
        EXPECT_EQ(orvo({"help", command}).out, help.out);
    }
    EXPECT_THAT(orvo({"--version"}).out, testing::MatchesRegex("orvo [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(orvo({"-V"}).out, orvo({"--version"}).out);
}

TEST_F(CommandLine, ReportsWrongUseInSpanish)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    const Case cases[]{
        {{}, "Falta la orden."},
        {{"lsit"}, "No existe la orden «lsit». ¿Querías decir «list»?"},
        {{"qwerty"}, "No existe la orden «qwerty».\n"},
        {{"list", "--jsno"}, "No existe la opción «--jsno». ¿Querías decir «--json»?"},
        {{"export", id, "x.mp4", "--hieght=3"}, "No existe la opción «--hieght». ¿Querías decir «--height»?"},
        {{"--library"}, "La opción --library necesita un valor."},
        {{"list", "--library", ""}, "--library necesita una carpeta."},
        {{"list", "--sort", "titel"}, "No existe el orden «titel». ¿Querías decir «title»?"},
        {{"list", "--json=yes"}, "La opción --json no lleva ningún valor."},
        {{"show"}, "Falta ID."},
        {{"import", ""}, "Indica el archivo de vídeo."},
        {{"set", id, "fade"}, "Falta VALOR."},
        {{"list", "list"}, "Sobra «list»."},
        {{"cut", id, "1", "2", "3"}, "Sobra «3»."},
        {{"cut", id, "1"}, "Indica el tramo"},
        {{"cut", id, "nan", "2"}, "INICIO «nan» no vale"},
        {{"cut", id, "1", "inf"}, "FIN «inf» no vale"},
        {{"cut", id, "1", "1e999"}, "FIN «1e999» no vale"},
        {{"cut", id, "1:60", "2:00"}, "INICIO «1:60» no vale"},
        {{"cut", id, "1:2:3:4", "9"}, "INICIO «1:2:3:4» no vale"},
        {{"cut", id, "2", "1"}, "El final (0:01.000) es anterior al inicio (0:02.000)."},
        {{"cut", id, "2", "2.01"}, "El tramo debe durar más de 0.01 segundos."},
        {{"cut", id, "10", "12"}, "queda fuera de la grabación, que dura 0:10.000"},
        {{"restore", id}, "Indica qué recorte restaurar"},
        {{"restore", id, "1", "--all"}, "Indica qué recorte restaurar"},
        {{"text", id, "10", "tarde"}, "El momento 0:10.000 queda fuera"},
        {{"text", id, "-1", "pronto"}, "El momento -0:01.000 queda fuera"},
        {{"text", id, "1", ""}, "El texto está vacío."},
        {{"text", id, "1", "roto\xFF"}, "no es UTF-8 válido"},
        {{"text", id, "1", "hola", "--duration", "0"}, "--duration «0» no vale"},
        {{"zoom", id, "1", "--scale", "9"}, "--scale «9» no vale: debe estar entre 1 y 4."},
        {{"set", id, "titel", "x"}, "No existe el campo «titel». ¿Querías decir «title»?"},
        {{"set", id, "title", "\xC3("}, "no es UTF-8 válido"},
        {{"set", id, "sharpen", "quizás"}, "sharpen «quizás» no vale: escribe «sí» o «no»."},
        {{"set", id, "cameraX", "nan"}, "cameraX «nan» no vale: debe ser un número."},
        {{"set", id, "cameraWidth", "0"}, "cameraWidth «0» no vale"},
        {{"set", id, "fade", "-1"}, "fade «-1» no vale"},
        {{"set", id, "volume", "1"}, "Indica la pista"},
        {{"set", id, "volume.micro", "1"}, "No existe la pista «micro». ¿Querías decir «microphone»?"},
        {{"set", id, "volume.microphone", "100"}, "El volumen «100» no vale: debe estar entre 0 y 16."},
        {{"export", id, "x.mp4", "--height", "-720"}, "--height «-720» no vale: debe estar entre 2 y 8192."},
        {{"export", id, "x.mp4", "--height", "8193"}, "--height «8193» no vale"},
        {{"export", id, "x.mp4", "--height", "99999999999999999999"}, "--height"},
        {{"export", id, "x.mp4", "--height", "alto"}, "debe ser un número entero"},
        {{"export", id, "x.mp4", "--fps", "0"}, "--fps «0» no vale"},
        {{"export", id, "x.mp4", "--fps", "29.97"}, "--fps «29.97» no vale: debe ser un número entero."},
        {{"export", id, "x.mp4", "--quality", "hihg"}, "No existe la calidad «hihg». ¿Querías decir «high»?"},
        {{"subtitles", id, "--format", "ass"}, "No existe el formato «ass»"},
        {{"apply", id}, "Indica los números de las mejoras"},
        {{"apply", id, "--kind", "silense"}, "No existe la clase «silense». ¿Querías decir «silence»?"},
        {{"words", id, "0000"}, "Falta el texto nuevo"},
        {{"show", "abc"}, "«abc» no es un identificador de proyecto"},
        {{"show", "zzzz"}, "«zzzz» no es un identificador de proyecto"},
        {{"show", id + "0"}, "no es un identificador de proyecto"},
        {{"show", "../../etc"}, "no es un identificador de proyecto"},
        {{"show", "\xFF\xFE\xFD\xFC"}, "no es un identificador de proyecto"},
    };
    const std::string before = document();
    for (const auto& [arguments, message] : cases) {
        const Outcome outcome = orvo(arguments);
        EXPECT_EQ(outcome.status, 2) << message;
        EXPECT_THAT(outcome.out, IsEmpty()) << message;
        EXPECT_THAT(outcome.err, StartsWith("orvo: "));
        EXPECT_THAT(outcome.err, HasSubstr(message));
        EXPECT_TRUE(isSpanish(outcome.err));
    }
    EXPECT_EQ(document(), before) << "nothing has changed";
}

TEST_F(CommandLine, FindsProjectsByIdentifierPrefix)
{
    VideoProject other = emptyProject(3);
    other.id = *Uuid::parse("ABCD0000-0000-4000-8000-000000000001");
    store.create(other);
    other.id = *Uuid::parse("ABCE0000-0000-4000-8000-000000000002");
    store.create(other);

    for (const std::string reference : {"ABCD", "abcd", "abcd0000-0", "ABCD0000-0000-4000-8000-000000000001"})
        EXPECT_EQ(answer({"show", reference})["id"].text(), "ABCD0000-0000-4000-8000-000000000001") << reference;

    // A prefix shared by two projects is ambiguous.
    VideoProject twin = emptyProject(3);
    twin.id = *Uuid::parse("ABCD1111-0000-4000-8000-000000000003");
    store.create(twin);
    const Outcome ambiguous = orvo({"show", "abcd"});
    EXPECT_EQ(ambiguous.status, 2);
    EXPECT_THAT(ambiguous.err, HasSubstr("«abcd» es ambiguo"));
    EXPECT_THAT(ambiguous.err, HasSubstr("ABCD0000-0000-4000-8000-000000000001"));
    EXPECT_THAT(ambiguous.err, HasSubstr("ABCD1111-0000-4000-8000-000000000003"));

    for (const std::string reference : {"ffff", "FFFFFFFF-0000-4000-8000-000000000000"}) {
        expectFailure({"cut", reference, "1", "2"}, 3, "No hay ningún proyecto «" + reference + "»");
    }
}

TEST_F(CommandLine, TakesTheLibraryFromOptionOrEnvironment)
{
    const ProjectStore other(folder / "la otra");
    VideoProject only = emptyProject(3);
    only.title = "En la otra";
    other.create(only);

    const std::string place = other.root();
    for (const std::vector<std::string>& arguments : {
             std::vector<std::string>{"--library", place, "list", "--json"},
             {"list", "--library=" + place, "--json"},
             {"--json", "list", "--library", place},
         }) {
        const JsonAnswer list(orvo(arguments).out);
        ASSERT_EQ(list.size(), 1);
        EXPECT_EQ(list[0]["title"].text(), "En la otra");
    }
    setup.library = place;
    EXPECT_EQ(answer({"list"})[0]["title"].text(), "En la otra");

    // Without either, uses the user's library.
    setup.library.clear();
    setup.environment["XDG_DATA_HOME"] = folder / "datos";
    EXPECT_EQ(answer({"list"}).size(), 0);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "datos/OrvoVideo/Projects"));

    // A mistyped folder is neither treated as an empty library nor created.
    for (const std::vector<std::string>& command : {std::vector<std::string>{"list"}, {"show", "abcd"}, {"validate"}}) {
        auto words = command;
        words.insert(words.end(), {"--library", folder / "nada"});
        expectFailure(words, 1, "No existe la biblioteca «" + (folder / "nada").string());
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "nada"));
}

} // namespace

} // namespace orvo::test
