// A pool of the unsigned 32-bit numbers of one closed range, taken out and given back.
#ifndef ORVIK_UTILITIES_CONTAINERS_NUMBERBAG_H
#define ORVIK_UTILITIES_CONTAINERS_NUMBERBAG_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// One bit per number of [firstNumber, lastNumber]. Every failure is false with the bag and
/// *number unchanged; a null number pointer fails. All arithmetic is 32-bit. On 64-bit hosts
/// a number, lo or firstNumber above 2^32 - 1 lies beyond every range, while hi and
/// lastNumber above it are taken as 2^32 - 1. The round-robin cursor is the caller's
/// variable, read from *number on entry; it wraps at 2^32 (only its low 32 bits count).
/// The bag owns its bitmap; no process-wide state, one thread at a time per bag.
class ORVIK_API NumberBag {
public:
    /// A full bag. Its one allocation holds count / 32 + 1 bitmap words and one summary
    /// word per 32 of them, so searches cost words / 32, not words. A range with
    /// firstNumber > lastNumber or of 2^32 numbers, or one whose bitmap cannot be
    /// allocated, gives an empty bag: every get, returnNumber and isInBag answers false.
    NumberBag(unsigned long firstNumber, unsigned long lastNumber);
    /// Frees the bitmap.
    ~NumberBag();
    NumberBag(NumberBag const&) = delete;
    NumberBag& operator=(NumberBag const&) = delete;

    /// Takes the lowest free number of the range.
    bool getNumber(unsigned long* number);
    /// Takes exactly this number; false when it lies outside the range or is taken.
    bool getNumber(unsigned long number);
    /// Takes the lowest free number of [lo, hi] within the range; false when lo > hi.
    bool getNumberInRange(unsigned long lo, unsigned long hi, unsigned long* number);
    /// Takes the first free number after the cursor, wrapping round the range; a cursor
    /// outside the range (or just below its start) starts the search at its first number.
    bool getNumberRoundRobin(unsigned long* number);
    /// Takes the first free number after the cursor, counting cyclically through [lo, hi]
    /// within the range; nothing outside it is handed out.
    bool getNumberInRangeRoundRobin(unsigned long lo, unsigned long hi, unsigned long* number);
    /// Takes n and n + 1, both free and within [lo, hi] and the range, n at an even offset
    /// from firstNumber, round-robin after the cursor; *number receives n. A lower bound at
    /// an odd offset is raised to the next even one, so every pair handed out is aligned.
    bool getNumberPairInRangeRoundRobin(unsigned long lo, unsigned long hi, unsigned long* number);
    /// Puts a taken number back; false when it lies outside the range or is in the bag.
    bool returnNumber(unsigned long number);
    /// True when the number lies in the range and is free.
    bool isInBag(unsigned long number);

private:
    uint32_t* bitmap;
    uint32_t firstNumber;
    uint32_t lastNumber;
    uint32_t numberCount;
    uint32_t wordCount;
};

#endif
