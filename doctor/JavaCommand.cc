#include "JavaCommand.h"

#include <algorithm>

#include "Text.h"

namespace doctor {

Environment environmentOf(const std::vector<std::string>& assignments) {
  Environment environment;
  for (const std::string& assignment : assignments)
    if (const auto equals = assignment.find('='); equals != assignment.npos)
      environment.emplace(assignment.substr(0, equals), assignment.substr(equals + 1));
  return environment;  // of a name that is there twice the first counts, as for getenv
}

std::string valueOf(const Environment& environment, std::string_view name) {
  const auto found = environment.find(name);
  return found == environment.end() ? std::string() : found->second;
}

// Words with quotes taken off. In an argument file a backslash inside quotes escapes and '#' begins
// a comment; in a variable neither means anything.
enum class Kind { variable, file };

class WordCutter {
 public:
  WordCutter(std::string_view text, Kind kind) : text_(text), kind_(kind) {}

  std::vector<std::string> all() {
    for (; at_ < text_.size(); ++at_) take(text_[at_]);
    finish();
    return std::move(words_);
  }

 private:
  void take(char c) {
    if (quote_) {
      inQuotes(c);
    } else if (c == '"' || c == '\'') {
      quote_ = c;
      open_ = true;
    } else if (c == '#' && kind_ == Kind::file) {
      finish();
      at_ = std::min(text_.find('\n', at_), text_.size());
    } else if (std::string_view(" \t\r\n\f").find(c) != std::string_view::npos) {
      finish();
    } else {
      word_ += c;
      open_ = true;
    }
  }

  void inQuotes(char c) {
    if (c == quote_) {
      quote_ = '\0';
    } else if (c == '\\' && kind_ == Kind::file && at_ + 1 < text_.size()) {
      escaped(text_[++at_]);
    } else {
      word_ += c;
    }
  }

  // A backslash at the end of a line joins it with the next, whose leading blanks do not count.
  void escaped(char c) {
    constexpr std::string_view kLetters = "nrtf", kMeant = "\n\r\t\f";
    const auto letter = kLetters.find(c);
    if (c == '\n' || c == '\r')
      at_ = std::min(text_.find_first_not_of(" \t\r\n\f", at_), text_.size()) - 1;
    else
      word_ += letter == kLetters.npos ? c : kMeant[letter];
  }

  void finish() {
    if (open_) words_.push_back(std::move(word_));
    word_.clear();
    open_ = false;
  }

  std::string_view text_;
  Kind kind_;
  std::size_t at_ = 0;
  std::vector<std::string> words_;
  std::string word_;
  bool open_ = false;
  char quote_ = '\0';
};

// Options whose value is the next argument, so that it is not taken for the main class.
static bool takesValue(std::string_view option) {
  constexpr std::string_view kWithValue[] = {"-cp",
                                             "-classpath",
                                             "--class-path",
                                             "-p",
                                             "--module-path",
                                             "--upgrade-module-path",
                                             "--add-modules",
                                             "--limit-modules",
                                             "--add-exports",
                                             "--add-opens",
                                             "--add-reads",
                                             "--patch-module",
                                             "--enable-native-access",
                                             "--source"};
  return std::ranges::find(kWithValue, option) != std::end(kWithValue);
}

static std::vector<std::string> expanded(const std::vector<std::string>& arguments,
                                         const TextReader& read) {
  std::vector<std::string> all;
  for (const std::string& argument : arguments) {
    if (!argument.starts_with('@')) {
      all.push_back(argument);
    } else if (argument.starts_with("@@")) {  // a plain argument that begins with '@'
      all.push_back(argument.substr(1));
    } else if (const auto text = read(argument.substr(1))) {
      std::ranges::move(WordCutter(*text, Kind::file).all(), std::back_inserter(all));
    }
  }
  return all;
}

// Options up to what is to run; what follows are the program's own arguments.
static void appendLauncherOptions(const std::vector<std::string>& arguments,
                                  std::vector<std::string>& options) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!argument.starts_with('-') || argument == "-jar" || argument == "-m" ||
        argument == "--module" || argument.starts_with("--module="))
      return;
    options.push_back(argument);
    if (takesValue(argument)) ++i;
  }
}

JavaCommand parseJavaCommand(const std::vector<std::string>& arguments,
                             const Environment& environment, const TextReader& read) {
  const auto wordsIn = [&](const char* name) {
    return WordCutter(valueOf(environment, name), Kind::variable).all();
  };
  JavaCommand command{wordsIn("JAVA_TOOL_OPTIONS")};
  appendLauncherOptions(expanded(wordsIn("JDK_JAVA_OPTIONS"), read), command.options);
  if (!arguments.empty())
    appendLauncherOptions(expanded({arguments.begin() + 1, arguments.end()}, read),
                          command.options);
  std::ranges::move(wordsIn("_JAVA_OPTIONS"), std::back_inserter(command.options));
  return command;
}

std::optional<std::string> JavaCommand::property(std::string_view key) const {
  std::optional<std::string> value;
  for (std::string_view option : options) {
    if (!option.starts_with("-D")) continue;
    option.remove_prefix(2);
    const auto equals = std::min(option.find('='), option.size());
    if (option.substr(0, equals) == key) value = option.substr(std::min(equals + 1, option.size()));
  }
  return value;
}

static std::optional<AgentOption> agentIn(std::string_view option) {
  using enum AgentOption::Form;
  struct Row {
    std::string_view prefix;
    AgentOption::Form form;
    char separator;  // before the agent's own options
  };
  constexpr Row kRows[] = {
      {"-agentpath:", path, '='}, {"-agentlib:", lib, '='}, {"-Xrun", run, ':'}};
  for (const Row& row : kRows) {
    if (!option.starts_with(row.prefix)) continue;
    option.remove_prefix(row.prefix.size());
    const auto end = std::min(option.find(row.separator), option.size());
    const std::string library(option.substr(0, end));
    const std::string name = fileNameOf(library);
    if (!name.starts_with(row.form == path ? "libvelora" : "velora")) return std::nullopt;
    return AgentOption{row.form, library,
                       std::string(option.substr(std::min(end + 1, option.size())))};
  }
  return std::nullopt;
}

std::vector<AgentOption> JavaCommand::agents() const {
  std::vector<AgentOption> found;
  for (const std::string& option : options)
    if (auto agent = agentIn(option)) found.push_back(std::move(*agent));
  return found;
}

bool isJavaLauncher(std::string_view program) {
  const std::string name = fileNameOf(program);
  return name == "java" || name == "jsvc";
}

}  // namespace doctor
