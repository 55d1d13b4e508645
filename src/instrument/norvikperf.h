#pragma once

// Tells the JIT compiler, through the environment, to leave the installed applications' classes
// alone.
void turnOffJitOfApps();
