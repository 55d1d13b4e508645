#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

// Class names to package patterns to the compiler's skip option "SKIP{com/acme/*}{*}". Texts only:
// no file is opened here.

// Texts in the order in which they came.
struct StringList {
  std::vector<std::string> strings;
  std::unordered_set<std::string> known;  // the same ones, quick to ask for
  std::size_t capacity = 0;
};

bool initStringList(StringList* list, int capacity);            // false for a capacity below 0
bool addStringToList(StringList* list, std::string_view text);  // false when the list is full
void sortStringList(StringList* list);
// Moves each text of a sorted list into the other one once, without a ".class" at its end. Of two
// and more the last never arrives: the option is known to lack it.
void uniqueStringList(StringList* from, StringList* to);
void removeClassSuffix(std::string& text);

// Adds the pattern of a class file's path below its class-path root, unless it is there already or
// belongs to the system.
void addCompressedStringToList(StringList* list, std::string_view classPath);
int addToSkipList(std::string_view pattern);       // 0: of the system or of middleware
std::string constructJitOption(StringList* list);  // takes the list's patterns out

// Appends {entry}{*} to out for each entry of a list separated by ":" or ";". With remove, takes
// what begins with the entry out of the option. Deletes blanks and empty entries from the option.
void getSkipOption(std::string_view list, std::string& out, std::string& option, bool remove);

// The value of the first line "key=value" that has both; the last character of each line is its
// line end, even where the file ends without one. Null data: no such line.
std::string_view propertyValue(std::string_view text, std::string_view key);

bool isBlank(char c);  // blank or tab
std::string_view trimStr(std::string_view text);
