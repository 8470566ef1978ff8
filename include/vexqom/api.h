// Marks the symbols the shared library exports (everything else stays hidden).
#pragma once

#define VEXQOM_API __attribute__((visibility("default")))
