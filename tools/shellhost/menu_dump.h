// Prints a popup menu the way a person would read it.
#pragma once
#include <windows.h>

#include <string>

std::wstring DescribeMenu(HMENU menu);
