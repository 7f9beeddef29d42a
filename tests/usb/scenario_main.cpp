// Runs the usb lane's scenarios and writes one line for each to the file that is the only argument, as soon
// as it is known: the guest may not live to write a report in the end. "begin NAME", then "# TEXT" for what
// failed and "figure NAME VALUE" for what was measured, then "ok NAME MS" or "not ok NAME MS"; "done COUNT"
// comes last.

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace {

class LineReporter : public testing::EmptyTestEventListener {
public:
    explicit LineReporter(std::FILE* file) : out(file) {}

    void OnTestStart(const testing::TestInfo& test) override { say("begin " + nameOf(test)); }
    void OnTestPartResult(const testing::TestPartResult& part) override {
        if (part.passed())
            return;
        std::istringstream text(std::string(part.file_name() == nullptr ? "" : part.file_name()) + ":" +
                                std::to_string(part.line_number()) + ": " + part.message());
        for (std::string line; std::getline(text, line);)
            say("# " + line);
    }
    void OnTestEnd(const testing::TestInfo& test) override {
        const testing::TestResult& result = *test.result();
        for (int index = 0; index < result.test_property_count(); ++index)
            say(std::string("figure ") + result.GetTestProperty(index).key() + ' ' +
                result.GetTestProperty(index).value());
        say((result.Passed() ? "ok " : "not ok ") + nameOf(test) + ' ' +
            std::to_string(result.elapsed_time()));
    }
    void OnTestProgramEnd(const testing::UnitTest& all) override {
        say("done " + std::to_string(all.test_to_run_count()));
    }

private:
    static std::string nameOf(const testing::TestInfo& test) {
        return std::string(test.test_suite_name()) + '.' + test.name();
    }
    void say(const std::string& line) {
        std::fprintf(out, "%s\n", line.c_str());
        std::fflush(out);
    }

    std::FILE* out;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::FILE* const out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
    if (out == nullptr) {
        std::fputs("ferrylink_usb_scenarios: it needs a file for its results\n", stderr);
        return 2;
    }
    testing::UnitTest::GetInstance()->listeners().Append(new LineReporter(out));
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
