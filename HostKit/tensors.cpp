/**
 * @file   tensors.cpp
 * @brief  Creation, release and element access of the host's tensors.
 */
#include "HostKit/tensors.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>

namespace kesh_host {

int TensorStore::create(mint type, mint rank, const mint* dimensions, MTensor* out) {
    if (type != MType_Integer) return LIBRARY_TYPE_ERROR;
    if (rank < 1 || dimensions == nullptr) return LIBRARY_RANK_ERROR;
    auto tensor = std::make_unique<st_MTensor>();
    mint length = 1;
    for (mint i = 0; i < rank; ++i) {
        if (dimensions[i] < 0 || __builtin_mul_overflow(length, dimensions[i], &length)) return LIBRARY_DIMENSION_ERROR;
        tensor->dimensions.push_back(dimensions[i]);
    }
    // Not cleared: the library writes every element, and clearing would touch the memory twice.
    if (length > std::numeric_limits<std::ptrdiff_t>::max() / static_cast<mint>(sizeof(mint)))
        return LIBRARY_MEMORY_ERROR;
    tensor->values.reset(new (std::nothrow) mint[static_cast<std::size_t>(length)]);
    if (!tensor->values) return LIBRARY_MEMORY_ERROR;
    tensor->length = length;
    *out = tensor.get();
    const std::lock_guard lock(mutex_);
    tensors_.emplace(tensor.get(), std::move(tensor));
    return LIBRARY_NO_ERROR;
}

MTensor TensorStore::create(std::span<const mint> values) {
    const auto length = static_cast<mint>(values.size());
    MTensor tensor = nullptr;
    if (create(MType_Integer, 1, &length, &tensor) != LIBRARY_NO_ERROR) throw std::bad_alloc();
    std::copy(values.begin(), values.end(), tensor->values.get());
    return tensor;
}

bool TensorStore::release(MTensor tensor) {
    const std::lock_guard lock(mutex_);
    return tensors_.erase(tensor) != 0;
}

bool TensorStore::lives(MTensor tensor) const {
    const std::lock_guard lock(mutex_);
    return tensors_.contains(tensor);
}

std::size_t TensorStore::living() const {
    const std::lock_guard lock(mutex_);
    return tensors_.size();
}

void TensorStore::clear() {
    const std::lock_guard lock(mutex_);
    tensors_.clear();
}

mint* TensorStore::element(MTensor tensor, const mint* position) const {
    mint index = 0;
    for (std::size_t i = 0; i < tensor->dimensions.size(); ++i) {
        if (position[i] < 1 || position[i] > tensor->dimensions[i]) return nullptr;
        index = index * tensor->dimensions[i] + position[i] - 1;
    }
    return tensor->values.get() + index;
}

int TensorStore::get_integer(MTensor tensor, const mint* position, mint* out) const {
    if (!lives(tensor)) return LIBRARY_TYPE_ERROR;
    if (out == nullptr) return LIBRARY_MEMORY_ERROR;
    const mint* found = position == nullptr ? nullptr : element(tensor, position);
    if (found == nullptr) return LIBRARY_DIMENSION_ERROR;
    *out = *found;
    return LIBRARY_NO_ERROR;
}

}  // namespace kesh_host
