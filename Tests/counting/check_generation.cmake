# Runs the check of the configure step on another library: cmake -DSOURCE=... -DLIBRARY=... -DCMAKE_NM=... -P
include(${SOURCE}/Adapters/primecount/CheckInterposed.cmake)
kesh_check_interposed(${LIBRARY} ${SOURCE}/Adapters/primecount/interposed-symbols.txt)
