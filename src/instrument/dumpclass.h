#pragma once

#include <string_view>

#include "instrument/classfile.h"

// Writes the class to <dumpPath><class name with dots>.class when the configuration asks for class
// dumps. Silent when that fails.
void dumpClass(std::string_view class_name, ClassBytes result);
