#include "handles.h"

#include <new>

namespace wgr::recorder {

static constexpr std::size_t kFirstSize = 16;

// Where the pointer is, or would be: the first free place from its own on.
std::size_t Handles::place_of(WgrHandle pointer) const {
  const auto address = reinterpret_cast<std::uintptr_t>(pointer);
  std::size_t place = (address >> 4 ^ address >> 12) & (size_ - 1);
  while (table_[place] != nullptr && table_[place]->pointer != pointer) {
    place = (place + 1) & (size_ - 1);
  }
  return place;
}

Handle* Handles::find(WgrHandle pointer) const {
  return size_ == 0 ? nullptr : table_[place_of(pointer)];
}

bool Handles::grow() {
  Handles larger;
  larger.size_ = size_ == 0 ? kFirstSize : 2 * size_;
  larger.table_ = new (std::nothrow) Handle*[larger.size_]();
  if (larger.table_ == nullptr) return false;
  for (std::size_t i = 0; i < size_; ++i) {
    if (table_[i] != nullptr)
      larger.table_[larger.place_of(table_[i]->pointer)] = table_[i];
  }
  delete[] table_;
  table_ = larger.table_;
  size_ = larger.size_;
  return true;
}

Handle* Handles::add(WgrHandle pointer, std::uint32_t id) {
  if (2 * (count_ + 1) > size_ && !grow()) return nullptr;
  auto* const made = new (std::nothrow) Handle;
  if (made == nullptr) return nullptr;
  made->pointer = pointer;
  made->id = id;
  const std::size_t place = place_of(pointer);
  if (table_[place] == nullptr) {
    ++count_;
  } else {
    delete table_[place];  // its destruction was not seen
  }
  table_[place] = made;
  return made;
}

void Handles::remove(WgrHandle pointer) {
  if (find(pointer) == nullptr) return;
  std::size_t hole = place_of(pointer);
  delete table_[hole];
  table_[hole] = nullptr;
  --count_;
  // What stood behind it may have been pushed there by it.
  for (std::size_t i = (hole + 1) & (size_ - 1); table_[i] != nullptr;
       i = (i + 1) & (size_ - 1)) {
    Handle* const moved = table_[i];
    table_[i] = nullptr;
    table_[place_of(moved->pointer)] = moved;
  }
}

}  // namespace wgr::recorder
