#include "express/jww/jww_document.h"

const JwwBlockDef* JwwDocument::FindBlockDef(std::uint32_t number) const {
  if (number < blockDefByNumber.size()) {
    std::uint32_t slot = blockDefByNumber[number];
    return slot != 0 && slot <= blockDefs.size() ? &blockDefs[slot - 1] : nullptr;
  }
  if (number < kDenseBlockNumbers) return nullptr;
  for (auto it = blockDefs.rbegin(); it != blockDefs.rend(); ++it)
    if (it->number == number) return &*it;
  return nullptr;
}

void JwwDocument::IndexBlockDef(std::size_t index) {
  std::uint32_t number = blockDefs[index].number;
  if (number >= kDenseBlockNumbers) return;
  if (blockDefByNumber.size() <= number) blockDefByNumber.resize(std::size_t{number} + 1, 0);
  blockDefByNumber[number] = static_cast<std::uint32_t>(index + 1);
}
