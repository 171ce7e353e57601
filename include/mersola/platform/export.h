// Which symbols the shared library shows to programs. Everything else in it is hidden.
#pragma once

/// Marks a class or function that the library shows.
#define MERSOLA_EXPORT __attribute__((visibility("default")))
