#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/mont.h"

kesh::uintx_t<512> square_of(const kesh::uintx_t<512>& a) {
    return a * a;
}
