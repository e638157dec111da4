/**
 * @file   tensors.h
 * @brief  The host's tensors: arrays of machine integers of any rank, owned by the host; the library gets handles.
 */
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <unordered_map>
#include <vector>

#include "VelmoraLibrary.h"

/** The record behind the handle that the library holds. */
struct st_MTensor {
    std::vector<mint> dimensions;
    std::unique_ptr<mint[]> values;
    mint length = 0;

    std::span<mint> data() const {
        return {values.get(), static_cast<std::size_t>(length)};
    }
};

namespace kesh_host {

/** Owns every tensor that exists. All members may be called from any thread; invalid handles are recognised. / */
class TensorStore {
  public:
    /** Creates a tensor; its elements have no defined value. Returns a host error code for a wrong type, rank or
     * dimension, or if there is no memory. */
    int create(mint type, mint rank, const mint* dimensions, MTensor* out);
    /** Creates a rank-1 tensor of the given values. */
    MTensor create(std::span<const mint> values);
    /** Releases the tensor; false if the handle is not one of this host's tensors. */
    bool release(MTensor tensor);
    bool lives(MTensor tensor) const;
    std::size_t living() const;
    /** Releases all tensors. */
    void clear();

    /**
     * The element at a position (one index per dimension, counted from 1). Returns a host error code:
     * LIBRARY_DIMENSION_ERROR for a position outside the tensor, LIBRARY_MEMORY_ERROR for a null destination,
     * LIBRARY_TYPE_ERROR for a handle that is not a tensor.
     */
    int get_integer(MTensor tensor, const mint* position, mint* out) const;

  private:
    mint* element(MTensor tensor, const mint* position) const;

    mutable std::mutex mutex_;
    std::unordered_map<MTensor, std::unique_ptr<st_MTensor>> tensors_;
};

}  // namespace kesh_host
