#include <algorithm>

#include "linux/desktop/DesktopEntries.h"
#include "linux/desktop/KeyFile.h"
#include "platform/Foundation/NSURL.h"

// One desktop entry, and how its program is started.
namespace tessaly::desktop {
namespace {

constexpr std::string_view kGroup = "Desktop Entry";

struct Word {
    std::string text;
    bool isQuoted = false;  ///< Field codes mean nothing in it.
};

/// Exec taken apart by its own quoting (Desktop Entry Specification, "The Exec key"), which is not a shell's. nullopt
/// for a quotation that does not end.
std::optional<std::vector<Word>> wordsOf(std::string_view exec) {
    std::vector<Word> words;
    for (std::size_t i = 0; i < exec.size();) {
        if (exec[i] == ' ' || exec[i] == '\t' || exec[i] == '\n') {
            ++i;
            continue;
        }
        Word word;
        for (bool quotes = false; i < exec.size() || quotes; ++i) {
            if (i >= exec.size()) return std::nullopt;
            if (exec[i] == '"') {
                quotes = !quotes;
                word.isQuoted = true;
            } else if (!quotes && (exec[i] == ' ' || exec[i] == '\t' || exec[i] == '\n')) {
                break;
            } else {
                if (exec[i] == '\\' && i + 1 < exec.size()) ++i;
                word.text += exec[i];
            }
        }
        words.push_back(std::move(word));
    }
    return words;
}

std::string asURL(const std::string& path) { return NSURL::fileURLWithPath(path).absoluteString(); }

/// One start of the program: with all files where a %F or %U takes them, else with one.
class CommandLine {
public:
    CommandLine(const Application& application, std::span<const std::string> paths)
        : application_(application), paths_(paths) {}

    void add(const Word& word) {
        if (word.isQuoted) {
            // The result of a code in quotes is undefined. It is dropped: such a word may be a script for a shell, and
            // a file's name must not become part of one.
            arguments_.push_back(withoutCodes(word.text));
        } else if (word.text == "%F" || word.text == "%U") {
            for (const std::string& path : paths_) arguments_.push_back(word.text == "%U" ? asURL(path) : path);
            takesFiles_ = true;
        } else if (word.text == "%i") {
            if (!application_.icon.empty()) arguments_.insert(arguments_.end(), {"--icon", application_.icon});
        } else if (std::string text = expanded(word.text); !text.empty() || !word.text.starts_with('%')) {
            arguments_.push_back(std::move(text));
        }
    }

    /// A program that says nothing of files, and still claims their type, gets them at the end.
    std::vector<std::string> finished() {
        if (!takesFiles_) arguments_.insert(arguments_.end(), paths_.begin(), paths_.end());
        return std::move(arguments_);
    }

private:
    static std::string withoutCodes(std::string_view text) {
        std::string plain;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] != '%')
                plain += text[i];
            else if (++i < text.size() && text[i] == '%')
                plain += '%';
        }
        return plain;
    }

    std::string expanded(std::string_view text) {
        std::string result;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] != '%' || i + 1 == text.size())
                result += text[i];
            else
                result += valueOf(text[++i]);
        }
        return result;
    }

    /// The codes that are deprecated, and those that nobody knows, are nothing.
    std::string valueOf(char code) {
        switch (code) {
            case '%':
                return "%";
            case 'c':
                return application_.name;
            case 'k':
                return application_.path;
            case 'f':
            case 'F':
                takesFiles_ = true;
                return paths_.empty() ? "" : paths_.front();
            case 'u':
            case 'U':
                takesFiles_ = true;
                return paths_.empty() ? "" : asURL(paths_.front());
            default:
                return {};
        }
    }

    const Application& application_;
    std::span<const std::string> paths_;
    std::vector<std::string> arguments_;
    bool takesFiles_ = false;
};

bool takesSeveral(const std::vector<Word>& words) {
    return std::ranges::any_of(
        words, [](const Word& word) { return !word.isQuoted && (word.text == "%F" || word.text == "%U"); });
}

std::vector<std::string> commandFor(const Application& application, const std::vector<Word>& words,
                                    std::span<const std::string> paths) {
    CommandLine line(application, paths);
    for (const Word& word : words) line.add(word);
    return line.finished();
}

}  // namespace

std::optional<Application> readDesktopEntry(const std::string& path, std::string id, const SearchPath& where) {
    const KeyFile file(textOfFile(path));
    const auto isTrue = [&](std::string_view key) { return file.isTrue(kGroup, key); };
    if (file.raw(kGroup, "Type") != "Application" || isTrue("Hidden") || isTrue("Terminal")) return std::nullopt;
    const std::string tried = file.text(kGroup, "TryExec");
    if (!tried.empty() && where.programNamed(tried).empty()) return std::nullopt;
    Application application;
    application.id = std::move(id);
    application.name = file.localizedText(kGroup, "Name");
    application.icon = file.text(kGroup, "Icon");
    application.exec = file.text(kGroup, "Exec");
    application.path = path;
    application.workingFolder = file.text(kGroup, "Path");
    application.mimeTypes = file.list(kGroup, "MimeType");
    const auto words = wordsOf(application.exec);
    // An entry may outlive its program.
    if (application.name.empty() || !words || words->empty() || where.programNamed(words->front().text).empty())
        return std::nullopt;
    return application;
}

std::vector<std::vector<std::string>> commandsFor(const Application& application, std::span<const std::string> paths) {
    std::vector<std::vector<std::string>> commands;
    const auto words = wordsOf(application.exec);
    if (!words || words->empty()) return commands;
    if (takesSeveral(*words)) {
        commands.push_back(commandFor(application, *words, paths));
    } else {
        for (std::size_t i = 0; i < paths.size(); ++i)
            commands.push_back(commandFor(application, *words, paths.subspan(i, 1)));
    }
    return commands;
}

}  // namespace tessaly::desktop
