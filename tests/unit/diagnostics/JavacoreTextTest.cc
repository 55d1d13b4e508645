#include "diagnostics/javacoreText.h"
#include "diagnostics/threaddump.h"
#include "unit/Test.h"

static std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find('\n', at), text.size() - 1) + 1;
    lines.push_back(text.substr(at, end - at));
    at = end;
  }
  return lines;
}

// "a.B|run c.D|go" up to the end of the stack
static std::string stackOf(ULONG tid, const std::string& text) {
  JavacoreReader reader(tid);
  JavacoreFrame found;
  std::string frames;
  for (const std::string& line : linesOf(text)) {
    const auto meaning = reader.take(line, found);
    if (meaning == JavacoreReader::stackEnds) return frames + ".";
    if (meaning == JavacoreReader::frame)
      frames += std::string(found.className) + "|" + std::string(found.methodName) + " ";
  }
  return frames;
}

#define HEADER "\"t\" (TID:0x1, sys_thread_t:0x2A, state:R)\n"

TEST(JavacoreText, Stacks) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"usual", HEADER "    at com.x.Y.run(Y.java:10)\n    at a.B.<init>(Unknown Source)\n\n",
       "com.x.Y|run a.B|<init> ."},
      {"held monitors between frames",
       HEADER "\tat a.B.f(B.java)\n\t- locked <0x1> (a a.B)\n\t- locked <0x2>\n\tat a.B.g(X)\n\n",
       "a.B|f a.B|g ."},
      {"any other line ends the stack", HEADER "at a.B.f(B)\nstate\nat a.B.g(B)\n", "a.B|f ."},
      {"words in brackets make no frame", HEADER "- locked <0x1> (a Flat x)\nat a.B.f(B)\n\n",
       "a.B|f ."},
      {"the next header ends the stack", HEADER "at a.B.f(B)\n" HEADER, "a.B|f ."},
      {"no frames", HEADER "\n", "."},
      {"no place, carriage return", HEADER "at a.B.f\r\n\r\n", "a.B|f ."},
      {"no class", HEADER "at f(B)\nat .g(B)\nat \n\n", "|f |g | ."},
      {"a hidden class", HEADER "at a.B$$L/0x7f.run(Unknown Source)\n\n", "a.B$$L/0x7f|run ."},
      {"the file ends with the line unfinished", HEADER "at a.B.f(B)\nat a.B.g", "a.B|f a.B|g "},
      {"other threads before",
       "\"at x\" (TID:0x0, sys_thread_t:0x2B, )\nat no.No.no(N)\n\n" HEADER "at a.B.f(B)\n\n",
       "a.B|f ."},
      {"not there", "\"at x\" (TID:0x0, sys_thread_t:0x2B, )\nat no.No.no(N)\n\n", ""},
      {"nothing", "", ""},
  };
  for (const auto& [why, text, frames] : cases) EXPECT_EQ(stackOf(0x2A, text), frames) << why;
}

TEST(JavacoreText, Headers) {
  const std::tuple<const char*, std::optional<ULONG>> cases[] = {
      {"\"main\" (TID:0x1, sys_thread_t:0x2a, state:R)", 0x2A},
      {"\"main\" TID:1, sys_thread_t:2a,", 0x2A},
      {"\"main\" TID:1, sys_thread_t: 0X2A,", 0x2A},
      {"sys_thread_t:0x1, \"main\" TID:1, sys_thread_t:0x2a,", 0x2A},
      {"\"sys_thread_t:0x1,\" TID:1, sys_thread_t:0x2a,", 0x2A},
      {"\"main\" TID:1, sys_thread_t:0x7F12FFFFFFFE,", 0x12FFFFFFFEul & 0xFFFFFFFF},
      {"\"main\" TID:1, sys_thread_t:0x2a", std::nullopt},  // no comma
      {"\"main\" TID:1, sys_thread_t:,", std::nullopt},
      {"\"main\" TID:1, sys_thread_t:zz,", std::nullopt},
      {"\"main\" TID:1, sys_thread_t:11112222333344445,", std::nullopt},  // beyond 64 bits
      {"\"main\" sys_thread_t:0x2a,", std::nullopt},
      {"\"main\" TID:1, thread:0x2a,", std::nullopt},
      {"\"main TID:1, sys_thread_t:0x2a,", std::nullopt},
      {"main TID:1, sys_thread_t:0x2a,", std::nullopt},
      {"\"TID:1, sys_thread_t:0x2a,\"", std::nullopt},
  };
  for (const auto& [line, tid] : cases) EXPECT_EQ(threadOfHeader(line), tid) << line;
}

TEST(JavacoreText, NewestLocation) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"the second of two", "dump : /a/one.txt\ndump : /a/two.txt\n", "/a/two.txt"},
      {"one", "dump : /a/one.txt\n", "/a/one.txt"},
      {"no label", "/a/one.txt\n/a/two.txt\n", "/a/two.txt"},
      {"an unfinished line is passed over", "d : /a/one.txt\nd : /a/tw", "/a/one.txt"},
      {"no line end at all", "d : /a/one.txt", "/a/one.txt"},
      {"the rest after the first mark", "d : /a : b/one.txt\n", "/a : b/one.txt"},
      {"an empty last line", "d : /a/one.txt\n\n", ""},
      {"nothing", "", ""},
  };
  for (const auto& [why, tail, path] : cases) EXPECT_EQ(newestLocation(tail), path) << why;
}

TEST(JavacoreText, TimeInAFileName) {
  EXPECT_EQ(timeOfJavacore("javacore42.1700000000.0001.txt", 42), 1700000000);
  EXPECT_EQ(timeOfJavacore("javacore42.7", 42), 7);
  EXPECT_EQ(timeOfJavacore("javacore42", 42), std::nullopt);
  EXPECT_EQ(timeOfJavacore("javacore42.txt", 42), std::nullopt);
  EXPECT_EQ(timeOfJavacore("javacore41.7.txt", 42), std::nullopt);
  EXPECT_EQ(timeOfJavacore(".javacore42.7.txt", 42), std::nullopt);
}

TEST(JavacoreText, LocationFileByVersion) {
  for (const char* early : {"1.3.1", "1.4.0", ""})
    EXPECT_STREQ(locationFileFor(early), "/tmp/javacore_locations") << early;
  for (const char* late : {"1.4.1", "1.4.2", "17.0.21", "25.0.3"})
    EXPECT_STREQ(locationFileFor(late), "/tmp/dump_locations") << late;
  EXPECT_STREQ(locationFileFor(nullptr), "/tmp/dump_locations");
}
