#include "jvm/LoadCheck.h"

LoadRoad classifyLoad(JavaVM*) { return LoadRoad::runAgent; }
