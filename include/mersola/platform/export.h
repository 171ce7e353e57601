// What the shared library shows to programs; everything else in it is hidden.
#pragma once

/// Marks what the library shows.
#define MERSOLA_EXPORT __attribute__((visibility("default")))
