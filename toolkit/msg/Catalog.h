#pragma once

#include <nl_types.h>

#include <string>
#include <string_view>

// A template of NLSPATH with its fields filled in: %N the catalogue's name; %L and %l the locale;
// %t and %c, the locale's territory and code set, stay empty; %% is a percent sign.
std::string filledIn(std::string_view pathTemplate, std::string_view name, std::string_view locale);

// The catalogue for the process's LANG, else the one that NLSPATH has for "C": our texts come in
// one language, and a German server has them too. (nl_catd)-1 when there is neither.
nl_catd openCatalog(const std::string& name);
