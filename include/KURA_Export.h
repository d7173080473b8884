#pragma once

/// Marks what libkura_parser.so exports to the host. Everything else stays inside the library.
#define KURA_API __attribute__((visibility("default")))
