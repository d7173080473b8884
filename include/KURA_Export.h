#pragma once

/// Marks what libkura_parser.so offers to the host; everything else stays inside the library.
#define KURA_API __attribute__((visibility("default")))
