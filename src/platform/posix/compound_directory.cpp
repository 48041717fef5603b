// The directory of a compound file: its entries, the storages' trees, and
// lookup of elements by name.
#include "platform/posix/compound_file.h"
#include "platform/posix/compound_name.h"

namespace cadserv::platform::cfb {
namespace {

constexpr uint32_t kEntrySize = 128;

// Decodes one 128-byte directory entry. An entry with an unknown type, a
// second root, or a name length outside 1 to 31 units (plus terminator)
// stays kInvalid: nothing can reach or open it. Nobody looks the root up by
// name, so its name only has to fit.
Element ParseEntry(const uint8_t* bytes, uint32_t id, bool version3) {
  Element element;
  uint16_t nameBytes = LoadU16(bytes + 64);
  uint8_t type = bytes[66];
  bool nameValid = nameBytes >= 4 && nameBytes <= 2 * (kMaxNameLength + 1) && nameBytes % 2 == 0;
  bool valid = id == kRootId ? type == 5 : (type == 1 || type == 2) && nameValid;
  if (!valid) return element;
  element.type = static_cast<ElementType>(type);
  if (nameValid) {
    element.nameLength = static_cast<uint8_t>(nameBytes / 2 - 1);
    for (size_t i = 0; i < element.nameLength; ++i) element.name[i] = LoadU16(bytes + 2 * i);
  }
  element.left = LoadU32(bytes + 68);
  element.right = LoadU32(bytes + 72);
  element.child = LoadU32(bytes + 76);
  element.createdTime = LoadU64(bytes + 100);
  element.modifiedTime = LoadU64(bytes + 108);
  element.startSector = LoadU32(bytes + 116);
  // Version 3 writers may leave garbage in the size's high half.
  element.size = version3 ? LoadU32(bytes + 120) : LoadU64(bytes + 120);
  if (element.type == ElementType::kStorage) element.size = 0;
  return element;
}

}  // namespace

bool CompoundFile::ReadDirectory(const char** reason) {
  std::vector<uint32_t> chain;
  if (!FollowChain(fat_, sectorCount_, firstDirectorySector_, kWholeChain, &chain) ||
      chain.empty()) {
    if (reason != nullptr) *reason = "broken directory chain";
    return false;
  }
  const uint32_t perSector = SectorSize() / kEntrySize;
  entries_.reserve(chain.size() * perSector);
  std::vector<uint8_t> sector(SectorSize());
  for (uint32_t number : chain) {
    if (!ReadSector(number, sector.data())) {
      if (reason != nullptr) *reason = "directory sector missing";
      return false;
    }
    for (uint32_t i = 0; i < perSector && entries_.size() < kNoEntry; ++i) {
      uint32_t id = static_cast<uint32_t>(entries_.size());
      entries_.push_back(ParseEntry(&sector[i * kEntrySize], id, majorVersion_ == 3));
    }
  }
  if (entries_[kRootId].type != ElementType::kRoot) {
    if (reason != nullptr) *reason = "no root entry";
    return false;
  }
  return true;
}

void CompoundFile::WalkDirectory() {
  std::vector<uint32_t> pending{kRootId};
  while (!pending.empty()) {
    uint32_t storageId = pending.back();
    pending.pop_back();
    WalkStorage(storageId, &pending);
  }
}

// Lists a storage's children by an in-order walk of its tree, with a stack
// of its own. An element is claimed by the first storage that reaches it;
// a link to an element already claimed (a loop, a shared subtree, the
// storage itself or an ancestor) counts as no link. So every element is
// listed at most once and every walk ends.
void CompoundFile::WalkStorage(uint32_t storageId, std::vector<uint32_t>* pendingStorages) {
  std::vector<uint32_t> stack;
  auto descendLeft = [&](uint32_t id) {
    while (id < entries_.size()) {
      Element& element = entries_[id];
      bool claimable = element.parent == kNoEntry && (element.type == ElementType::kStorage ||
                                                      element.type == ElementType::kStream);
      if (!claimable) return;
      element.parent = storageId;
      stack.push_back(id);
      id = element.left;
    }
  };
  entries_[storageId].firstChild = static_cast<uint32_t>(children_.size());
  descendLeft(entries_[storageId].child);
  while (!stack.empty()) {
    uint32_t id = stack.back();
    stack.pop_back();
    children_.push_back(id);
    if (entries_[id].type == ElementType::kStorage) pendingStorages->push_back(id);
    descendLeft(entries_[id].right);
  }
  entries_[storageId].childCount =
      static_cast<uint32_t>(children_.size() - entries_[storageId].firstChild);
}

const Element* CompoundFile::Entry(uint32_t id) const {
  if (id >= entries_.size()) return nullptr;
  const Element& element = entries_[id];
  return id == kRootId || element.parent != kNoEntry ? &element : nullptr;
}

ChildList CompoundFile::Children(uint32_t storageId) const {
  const Element* storage = Entry(storageId);
  if (storage == nullptr || storage->type == ElementType::kStream) return {};
  return {children_.data() + storage->firstChild, storage->childCount};
}

uint32_t CompoundFile::FindChild(uint32_t storageId, const char16_t* name, size_t length) const {
  const Element* storage = Entry(storageId);
  if (storage == nullptr || storage->type == ElementType::kStream || length == 0 ||
      length > kMaxNameLength) {
    return kNoEntry;
  }
  // The tree is a search tree in name order: descend it, only through this
  // storage's own elements and never longer than it has children.
  uint32_t id = storage->child;
  for (uint32_t steps = 0;
       steps < storage->childCount && id < entries_.size() && entries_[id].parent == storageId;
       ++steps) {
    const Element& element = entries_[id];
    int order = CompareNames(name, length, element.name, element.nameLength);
    if (order == 0) return id;
    id = order < 0 ? element.left : element.right;
  }
  // Some writers order siblings otherwise: then look at every child.
  for (uint32_t child : Children(storageId)) {
    const Element& element = entries_[child];
    if (CompareNames(name, length, element.name, element.nameLength) == 0) return child;
  }
  return kNoEntry;
}

}  // namespace cadserv::platform::cfb
