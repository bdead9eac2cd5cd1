// BURST: explodes block references one level while keeping what their attributes
// showed, as texts, and gives the pieces that inherited from the reference (layer "0",
// colour BYBLOCK, linetype BYBLOCK) the reference's own layer, colour and linetype.
#pragma once

#include <cstdint>
#include <string>

#include "hostapi/db.h"

namespace express {

// What the inheriting pieces of one reference take on, read from the reference's entity
// list before it is exploded.
struct BurstInherited {
  std::string blockName;             // group 2
  std::string layer = "0";           // group 8
  std::string linetype = "BYLAYER";  // group 6
  // The colour as CHPROP takes it: the index, "BYBLOCK" for 0, "BYLAYER" without group 62.
  std::string color = "BYLAYER";
  // The colour attribute texts with colour 0 receive: group 62, or 256 without one.
  int16_t colorIndex = 256;
};
BurstInherited burstInherited(const resbuf* referenceList);

// The entity list of the text that keeps an attribute's value: (0 . "TEXT") and, in a
// fixed order, the attribute's groups that a text shares, the attribute's vertical
// alignment (74) becoming the text's (73); colour 0 becomes referenceColor. The caller
// releases the chain.
resbuf* burstTextList(const resbuf* attributeList, int16_t referenceColor);

// The command.
void cmdBurst();

}  // namespace express
