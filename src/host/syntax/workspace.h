#pragma once
// The card reader's state: where in the job the next card starts and which card was read last.
// The job runner starts it behind each command and asks it afterwards where to go on.

#include <cstddef>
#include <string_view>

namespace host::syntax {
class JobInput;
// Columns of one card; a longer line is read as several cards.
inline constexpr std::size_t kCardColumns = 256;
// Where a card that starts at `offset` of `line` ends: at the last blank before column 256,
// at column 256 when there is none, never inside a UTF-8 sequence.
std::size_t cardLength(std::string_view line, std::size_t offset);
}  // namespace host::syntax

struct KwelWorkspace {
    host::syntax::JobInput const* input = nullptr;
    // Where the next card starts.
    std::size_t nextLine = 0;
    std::size_t nextOffset = 0;
    // The card read last, for prcard_, sskipc_ and mcpstn_.
    bool hasCard = false;
    std::size_t cardLine = 0;
    std::size_t cardOffset = 0;
    std::size_t cardLength = 0;
    // Bookkeeping: cards read since the start, reads that found nothing, the last collector
    // chosen by setqcllct_, and whether the block end was skipped or a card given back.
    int cardsRead = 0;
    int readsPastEnd = 0;
    bool lastReadFoundNothing = false;
    int collector = 0;
    int attentionChecks = 0;
    bool skipped = false;
    bool gaveBack = false;
    // The 0-based BEGIN GPL line of a block whose END GPL has not been read, and whether the
    // block was cut off in front of a line that cannot belong to it (the reader then is at its
    // end, and the job goes on at that line).
    static constexpr std::size_t kNoBlock = static_cast<std::size_t>(-1);
    std::size_t openBlockLine = kNoBlock;
    bool blockCut = false;

    // Starts reading at the line with 0-based `line` of `job` (null: nothing to read).
    void start(host::syntax::JobInput const* job, std::size_t line);
    // Reads the next card; false when nothing is left.
    bool read();
    bool atEnd() const;
    std::string_view card() const;
    // The 0-based line where the job runner goes on: behind the cards read (the rest of a line
    // read in part is passed over), or at a card that was given back.
    std::size_t resumeLine() const;
};
