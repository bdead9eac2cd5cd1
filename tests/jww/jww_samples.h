#pragma once
// Drawings built in memory for the tests, the fuzzing corpus and the benchmarks'
// smaller cousins: every record kind and every variant of its layout.

#include <cstdint>
#include <string>
#include <vector>

#include "express/jww/jww_document.h"
#include "express/jww/jww_file_writer.h"

// Fills every header value with a distinct number, so that a value read from the
// wrong place shows. Items that the version does not carry keep their defaults.
void FillHeader(JwwHeader& header, std::uint32_t version);

// One or more records of every kind: points with and without a symbol, solids with
// and without their own colour, dimensions, block insertions and two block
// definitions, Japanese texts and a text longer than 255 bytes. Without `fillHeader`
// the header keeps its defaults (empty names), which makes the file quick to read.
JwwDocument MakeSampleDocument(std::uint32_t version, bool fillHeader = true);

// The smallest drawing of a version: default header, no records, no blocks.
JwwDocument MakeEmptyDocument(std::uint32_t version);

std::vector<std::uint8_t> WriteOrDie(const JwwDocument& doc, JwwWriteOptions options = {});

JwwRecordHead MakeHead(std::uint32_t seed);
JwwLine MakeLine(std::uint32_t seed);
JwwCircle MakeCircle(std::uint32_t seed);
JwwDot MakeDot(std::uint32_t seed, bool withSymbol);
JwwText MakeText(std::uint32_t seed, std::string content);
JwwSolid MakeSolid(std::uint32_t seed, bool withRgb);
JwwMeasure MakeMeasure(std::uint32_t seed, bool extended);
JwwBlock MakeBlock(std::uint32_t seed, std::uint32_t blockNumber);
