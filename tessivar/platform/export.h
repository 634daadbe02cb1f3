// Marks what the shared library exports; everything else stays hidden.
#pragma once

#define TESSIVAR_API __attribute__((visibility("default")))
