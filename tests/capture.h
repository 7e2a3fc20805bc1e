/* What tests capture: the lines that the product prints, and scratch folders. */
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

/* What action prints on standard output. */
template <typename Action> std::string captured(Action action)
{
    char *text = nullptr;
    size_t size = 0;
    FILE *const standardOutput = std::exchange(stdout, open_memstream(&text, &size));
    action();
    fclose(std::exchange(stdout, standardOutput));
    const std::string printed(text, size);
    free(text);
    return printed;
}

/* The same for an action that runs on a stack of 256 KiB. */
template <typename Action> std::string capturedOnSmallStack(Action action)
{
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, 256 * 1024);
    pthread_setattr_default_np(&small);
    return captured([&] { std::thread(action).join(); });
}

/*
 * What is printed, to the character: a diagnostic in the form and with the line end of its module,
 * which the function's name tells, as "; function:line text"; what stands between them as it is,
 * behind "; ".
 */
std::string lines(const std::string &printed);

/* The text with what matches the regular expression replaced; $1 stands for its first group. */
std::string edit(const std::string &text, const std::string &pattern, const std::string &to);

inline std::string repeated(size_t count, const std::string &text)
{
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

/* The elements of path, separated by slashes, inside one another. */
inline std::string in(const std::string &path, const std::string &content)
{
    const size_t slash = path.find('/');
    const std::string name = path.substr(0, slash);
    const std::string inside = slash == path.npos ? content : in(path.substr(slash + 1), content);
    return "<" + name + ">" + inside + "</" + name + ">";
}

/* The bytes with others from the offset on. */
inline std::string patched(std::string bytes, size_t offset, const std::string &to)
{
    return bytes.replace(offset, to.size(), to);
}

/* Cannot be compressed to less than its bits. */
inline std::string noise(size_t size, uint32_t alphabet = 256)
{
    std::mt19937 random;
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<char>(random() % alphabet); });
    return bytes;
}

/* All bytes of a file. */
inline std::string contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/* Makes a new folder the current one. */
inline void enterFolder(const std::string &name)
{
    const std::string folder = testing::TempDir() + name + ".folder";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
}

/* The text with \n and \r for its line ends. */
inline std::string inOneLine(const std::string &text)
{
    return edit(edit(text, "\r", "\\r"), "\n", "\\n");
}

/*
 * Compares the lines of tests/data/NAME, each an input and behind " => " what must come of it, with
 * what comes of the inputs. With TARN_UPDATE in the environment, the file is written anew.
 */
void expectListed(const std::string &name,
                  const std::function<std::string(const std::string &input)> &outcomeOf);
