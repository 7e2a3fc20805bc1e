// What tests capture: the lines that the product prints, and scratch folders.
#include "tests/capture.h"

#include <regex>
#include <sstream>

std::string edit(const std::string &text, const std::string &pattern, const std::string &to)
{
    return std::regex_replace(text, std::regex(pattern), to);
}

std::string lines(const std::string &printed)
{
    static const std::regex diagnostic(
        "\\[ERROR\\]\\[(?!_?app)(\\w+)\\(\\):(\\d+)\\]: ([^\n]*)\r\n|"
        "\\[Error\\]\\((_?appmngr_\\w+)\\) (\\d+): ([^\n]*)\n|"
        "\\[apppri_db_error\\]\\((_?apppri_\\w+)\\) (\\d+): ([^\n]*(?:\r\n)?)\r\n");
    std::string text;
    bool isDiagnostic = false; // every other piece
    std::sregex_token_iterator piece(printed.begin(), printed.end(), diagnostic, {-1, 0});
    for (; piece != std::sregex_token_iterator(); ++piece, isDiagnostic = !isDiagnostic) {
        const std::string any = piece->str();
        text += any.empty() ? "" : "; ";
        text += isDiagnostic ? std::regex_replace(any, diagnostic, "$1$4$7:$2$5$8 $3$6$9") : any;
    }
    return text;
}

void expectListed(const std::string &name,
                  const std::function<std::string(const std::string &input)> &outcomeOf)
{
    const std::string path = TARN_SOURCE "/tests/data/" + name;
    std::istringstream expected(contents(path));
    std::string found;
    for (std::string line; std::getline(expected, line);) {
        std::string actual = line.substr(0, line.find(" => "));
        const std::string outcome = outcomeOf(actual);
        actual += outcome.empty() ? "" : " => " + outcome;
        EXPECT_EQ(actual, line) << "in " << name;
        found += actual + "\n";
    }
    EXPECT_NE(found, "") << name;
    if (getenv("TARN_UPDATE") != nullptr) {
        std::ofstream(path) << found;
    }
}
