#pragma once
// The host's card reader: the lines of the job that follow the current command, read one card
// (at most 256 columns, blank-padded) at a time. Integers go by reference, as the host's
// Fortran-era entries expect.

#include <cstdint>

// The host work area that the card reader operations share; opaque to the command library.
struct KwelWorkspace;

// Reads the next card into `card` (blank-padded to `length`). Bit 0 of `flags` is set when the
// input has ended with this card; bit 1 when there was no card to read at all.
void ssredc_(int const& unit, char* card, int const& length, int& flags, KwelWorkspace* work);
// The host's attention check after a read.
void atnjmp_(KwelWorkspace* work);
// Selects the listing collector for the next prcard_.
void setqcllct_(int const& collector);
// Echoes the current card into the output.
void prcard_(KwelWorkspace* work);
// Marks the current card as the end of the block: the runner goes on behind it.
void sskipc_(KwelWorkspace* work);
// Hands a text back to the job runner: it is read again as the start of the next command.
void mcpstn_(char const* text, int const& length);
