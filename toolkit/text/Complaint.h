#pragma once

#include <initializer_list>
#include <string_view>

// One line on standard error, for what the toolkit cannot put into its own files. The parts are
// joined and escaped; callers see to it that the same trouble is said once.
void complain(std::initializer_list<std::string_view> parts) noexcept;
