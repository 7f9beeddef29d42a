// The program gpc as people and builds use it: arguments, streams, files, exit codes, both forms of report.

#include "tests/support/process_text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace Vantor {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct Outcome {
    int exitCode;
    std::string output;
    std::string errors;

    json document() const { return json::parse(output, nullptr, false); }
};

class GpcTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(directory.isValid()); }

    Outcome run(const QStringList& arguments, const QByteArray& input = {}) {
        QProcess process;
        process.setWorkingDirectory(directory.path());
        process.start(QCoreApplication::applicationDirPath() + "/gpc", arguments);
        EXPECT_TRUE(process.waitForStarted());
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                test::textOf(process.readAllStandardError())};
    }

    void write(const QString& name, const QByteArray& content) {
        QFile file(directory.filePath(name));
        ASSERT_TRUE(QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray contentOf(const QString& name) {
        QFile file(directory.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
    }

    QStringList files() { return QDir(directory.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    const QTemporaryDir directory;
    /// A script without storage: its code begins at offset 11.
    const QByteArray good = "main { printf(\"tick\"); set_val(BUTTON_1, 100); }\n";
    const QByteArray bad = "int8 a;\nmain {\n\tset_val(BUTTON_1, 100)\n}\n";
};

TEST_F(GpcTest, CompilesBesideTheSourceOrWhereItIsTold) {
    write("aim.gpc", good);
    const Outcome plain = run({"compile", "aim.gpc", "--stamp", "258"});
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_EQ(plain.output + plain.errors, "");
    const QByteArray file = contentOf("aim.gbc");
    EXPECT_EQ(file.left(1).toHex(), "10");
    EXPECT_EQ(file.mid(3, 4).toHex(), "00000102");

    EXPECT_EQ(run({"compile", "aim.gpc", "-o", "other.bin", "--stamp", "258"}).exitCode, 0);
    EXPECT_EQ(contentOf("other.bin"), file);
    EXPECT_EQ(run({"compile", "-", "-o", "-", "--stamp", "258"}, good).output, file.toStdString());
    EXPECT_EQ(files(), QStringList({"aim.gbc", "aim.gpc", "other.bin"}));
}

TEST_F(GpcTest, AFaultLeavesTheOldOutputAndNothingElse) {
    write("aim.gpc", bad);
    write("aim.gbc", "old");
    const Outcome outcome = run({"compile", "aim.gpc"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, StartsWith("aim.gpc:4:1: error: "));
    EXPECT_EQ(contentOf("aim.gbc"), "old");
    EXPECT_EQ(run({"check", "aim.gpc"}).errors, outcome.errors);

    write("aim.gpc", good);
    EXPECT_EQ(run({"compile", "aim.gpc", "-o", "missing/aim.gbc"}).exitCode, 2);
    EXPECT_EQ(run({"compile", "aim.gpc", "-o", "aim.gpc"}).exitCode, 2);
    EXPECT_EQ(contentOf("aim.gpc"), good);
    EXPECT_EQ(files(), QStringList({"aim.gbc", "aim.gpc"}));
}

TEST_F(GpcTest, ErrorsPointIntoTheLineThatTheUserWrote) {
    write("lib/part.gpc", "int8 a;\n\n #error here\n");
    write("tabs.gpc", "\t\xC3\xA4\t#\n#define F(x) x\n  F(1, 2)\n");
    write("outer.gpc", "#include \"part.gpc\"\n");
    write("long.gpc", QByteArray(300, ' ') + "#nonsense" + QByteArray(300, '.') + "\n");
    EXPECT_EQ(run({"preprocess", "outer.gpc", "-I", "nowhere", "-I", "lib"}).errors,
              "lib/part.gpc:3:2: error: unsupported preprocessing directive: #error\n   #error here\n   ^\n");
    EXPECT_EQ(
        run({"preprocess", "tabs.gpc"}).errors,
        "tabs.gpc:3:3: error: wrong number of macro arguments: F expects 1, found 2\n    F(1, 2)\n    ^\n");
    EXPECT_THAT(
        run({"preprocess", "long.gpc"}).errors,
        AllOf(StartsWith("long.gpc:1:301: error: "), HasSubstr("\n  ... "), HasSubstr("#nonsense....")));
    EXPECT_THAT(run({"check", "-"}, bad).errors, StartsWith("<stdin>:4:1: error: "));
}

TEST_F(GpcTest, TheJsonDocumentIsCompleteWhateverHappens) {
    write("good.gpc", good);
    write("bad.gpc", bad);
    const json fine = run({"compile", "good.gpc", "--format", "json"}).document();
    EXPECT_EQ(fine["format"], 1);
    EXPECT_EQ(fine["command"], "compile");
    EXPECT_EQ(fine["input"], "good.gpc");
    EXPECT_EQ(fine["ok"], true);
    EXPECT_EQ(fine["error"], nullptr);
    EXPECT_EQ(fine["diagnostics"], json::array());
    EXPECT_EQ(fine["output"], "good.gbc");
    EXPECT_EQ(fine["bytes"], contentOf("good.gbc").size());

    const Outcome faulty = run({"check", "bad.gpc", "--format", "json"});
    EXPECT_EQ(faulty.exitCode, 1);
    EXPECT_EQ(faulty.errors, "");
    const json diagnostic = faulty.document()["diagnostics"][0];
    EXPECT_EQ(faulty.document()["ok"], false);
    EXPECT_EQ(diagnostic["file"], "bad.gpc");
    EXPECT_EQ(diagnostic["line"], 4);
    EXPECT_EQ(diagnostic["column"], 1);
    EXPECT_EQ(diagnostic["position"], bad.lastIndexOf('}'));

    const Outcome missing = run({"check", "none.gpc", "--format", "json"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_THAT(missing.document()["error"].get<std::string>(), HasSubstr("none.gpc"));
    EXPECT_EQ(run({"compile", "good.gpc", "-o", "-", "--format", "json"}).exitCode, 2);

    EXPECT_EQ(run({"preprocess", "-", "--format", "json"}, "#define A 1\nA \xFF\n").document()["text"],
              "1 \xEF\xBF\xBD\n");
}

TEST_F(GpcTest, WrongCommandLinesAndUnreadableFilesExitWithTwo) {
    write("good.gpc", good);
    for (const QStringList& arguments : {QStringList{},
                                         {"compile"},
                                         {"frobnicate"},
                                         {"compile", "good.gpc", "--stamp", "-1"},
                                         {"compile", "good.gpc", "--stamp", "4294967296"},
                                         {"check", "good.gpc", "--format", "xml"},
                                         {"check", "good.gpc", "-o", "x"},
                                         {"check", "none.gpc"},
                                         {"check", "."},
                                         {"compile", "-"}}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_NE(outcome.errors, "") << arguments.join(' ').toStdString();
        EXPECT_EQ(outcome.output, "");
    }
    EXPECT_EQ(run({"--help"}).exitCode, 0);
    EXPECT_THAT(run({"--help"}).output, HasSubstr("Examples:"));
    EXPECT_EQ(run({"--version"}).output, "gpc " FERRYLINK_VERSION "\n");
}

TEST_F(GpcTest, WhatNoMemorySlotTakesIsAnError) {
    QByteArray large = "const uint8 table[] = {1";
    for (int i = 1; i < 8192; ++i)
        large += ",1";
    write("large.gpc", large + "};\nmain { set_val(BUTTON_1, (fix32)table[0]); }\n");
    const Outcome outcome = run({"compile", "large.gpc"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.errors, StartsWith("large.gpc:1:1: error: The compiled GPC bytecode is empty or "
                                           "exceeds the Titan Two 8 KB limit.\n"));
    EXPECT_EQ(files(), QStringList({"large.gpc"}));
}

TEST_F(GpcTest, RunsScriptsAndBytecode) {
    write("good.gpc", good);
    ASSERT_EQ(run({"compile", "good.gpc"}).exitCode, 0);
    for (const QString file : {"good.gpc", "good.gbc"}) {
        const Outcome outcome = run({"run", file, "--ticks", "3"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.output, "tickticktick");
        EXPECT_THAT(outcome.errors, AllOf(StartsWith("ran 3 ticks, "), HasSubstr("output 0 = 100.00")));
    }
    const json said = run({"run", "good.gpc", "--ticks", "2", "--format", "json"}).document();
    EXPECT_EQ(said["ticks"], 2);
    EXPECT_EQ(said["text"], "ticktick");
    EXPECT_EQ(said["outputs"][0], 100.0);
    EXPECT_THAT(run({"run", "good.gpc", "--ticks", "1", "--trace"}).errors, HasSubstr("set_val"));

    const Outcome endless = run({"run", "-"}, "main { while (1) { } }");
    EXPECT_EQ(endless.exitCode, 1);
    EXPECT_THAT(endless.errors, StartsWith("gpc: <stdin>: stopped after 0 ticks: "));
    EXPECT_EQ(run({"run", "-"}, QByteArray::fromHex("10000b00000000")).exitCode, 1);
}

TEST_F(GpcTest, ListsBytecodeAndTranslators) {
    write("good.gpc", good);
    ASSERT_EQ(run({"compile", "good.gpc"}).exitCode, 0);
    EXPECT_THAT(run({"disassemble", "good.gbc"}).output, HasSubstr("set_val"));
    const json lines = run({"disassemble", "good.gbc", "--format", "json"}).document()["lines"];
    EXPECT_GT(lines.size(), 3U);
    const Outcome cut = run({"disassemble", "-"}, contentOf("good.gbc").left(9));
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_THAT(cut.errors, StartsWith("gpc: <stdin>: "));

    const QByteArray translator = QByteArray::fromHex("1003505300300301 02ff00");
    write("pad.git", translator);
    EXPECT_EQ(run({"translator", "pad.git"}).output,
              "title: \"PS\"\nsections: 1\n  0x30  kmap  3 bytes\n        01 02 ff\n");
    const json sections = run({"translator", "pad.git", "--format", "json"}).document()["sections"];
    EXPECT_EQ(sections, json::parse(R"([{"tag": 48, "name": "kmap", "data": [1, 2, 255]}])"));
    const Outcome faulty = run({"translator", "-"}, translator.left(8));
    EXPECT_EQ(faulty.exitCode, 1);
    EXPECT_EQ(faulty.errors, "gpc: <stdin>: truncated GPC2 Input Translator section\n");
}

} // namespace
} // namespace Vantor
