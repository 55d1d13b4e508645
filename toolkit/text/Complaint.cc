#include "text/Complaint.h"

#include <unistd.h>

#include "text/Escape.h"

void complain(std::initializer_list<std::string_view> parts) noexcept {
  LineBuffer line;
  line.appendWhole("klglog: ");
  for (const auto part : parts) appendEscaped(line, part);
  const auto text = line.finish();
  // Nobody is left to be told when standard error fails.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}
