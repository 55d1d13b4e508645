#pragma once

namespace bridge {

// Makes settings reach the agent that it would not see by itself: it looks at the command line of
// the process, then at its environment.
//  - Identity properties given through an argument file, JDK_JAVA_OPTIONS or JAVA_TOOL_OPTIONS are
//    Java system properties but no part of the command line.
//  - With no home given at all, the installation that this library lies in is the home.
//  - The toolkit's log root gets a place inside the home when the usual one cannot be written.
// Variables that are set stay as they are. For OnLoad only: later, other threads read the
// environment.
void offerSettings();

}  // namespace bridge
