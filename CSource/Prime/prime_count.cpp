/**
 * @file   prime_count.cpp
 * @brief  Prime counts on the host's thread and as asynchronous tasks; the mathematics is primecount's.
 */
#include "Prime/prime_count.h"

#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "VelmoraIOLibraryFunctions.h"
#include "primecount_adapter.h"

using kesh::integer_argument;
using kesh::return_integer;

namespace {

/**
 * The host table most recently passed to a function that installs a callback: the callbacks have no other way to the
 * host. It is a plain variable on purpose, like asyncObjectID: the tables live as long as the process, and a
 * synchronous count that starts during a task replaces both the callback and this pointer.
 */
VelmoraLibraryData wlibData = nullptr;

/** The task whose events are being raised. Written by workers only. */
mint asyncObjectID = 0;

/**
 * Held by a worker for its whole run: one asynchronous count at a time. It is locked before event_mutex, never after
 * it.
 */
std::mutex primecount_mutex;

/** Held while one event is built and raised, so that events from several threads do not mix their DataStores. */
std::mutex event_mutex;

/** The last successful result of PrimeCount_ExprPrimePi, which the host reads after the call. */
char* outstr = nullptr;

/** Detaches a thread at the end of the scope that started it. */
class ThreadRAII {
  public:
    explicit ThreadRAII(std::thread& thread) : m_thread(thread) {}
    ~ThreadRAII() {
        if (m_thread.joinable()) m_thread.detach();
    }
    ThreadRAII(const ThreadRAII&) = delete;
    ThreadRAII& operator=(const ThreadRAII&) = delete;

  private:
    std::thread& m_thread;
};

/** Progress callback of synchronous counts: ends the count when the user asked the host to abort. */
bool taskMonitor(double /*percent*/) {
    if (wlibData == nullptr) return false;
    return wlibData->AbortQ() != 0;
}

inline void PrimeCount_SetTaskCallback(VelmoraLibraryData libData) {
    wlibData = libData;
    primecount::set_callback(taskMonitor);
}

// The host's table takes non-const strings and does not write to them.
void addData(VelmoraIOLibrary_Functions iolib, DataStore dstore, mint value) {
    iolib->DataStore_addInteger(dstore, value);
}

void addData(VelmoraIOLibrary_Functions iolib, DataStore dstore, mreal value) {
    iolib->DataStore_addReal(dstore, value);
}

void addData(VelmoraIOLibrary_Functions iolib, DataStore dstore, const char* value) {
    iolib->DataStore_addString(dstore, const_cast<char*>(value));
}

/** Raises one event for the current task, with one unnamed value. The host becomes the owner of the DataStore. */
template <typename T>
void raiseAsyncEvent(const char* message, T data) {
    const std::lock_guard<std::mutex> lock(event_mutex);
    VelmoraIOLibrary_Functions iolib = wlibData->ioLibraryFunctions;
    DataStore dstore = iolib->createDataStore();
    addData(iolib, dstore, data);
    iolib->raiseAsyncEvent(asyncObjectID, const_cast<char*>(message), dstore);
}

/** Progress callback of asynchronous counts. It never ends one; PrimeCount_StopTask does. */
bool monitor(double percent) {
    raiseAsyncEvent("Status", percent);
    return false;
}

/** A NUL-terminated copy for the host, which takes a plain pointer. */
char* copy_string(char* buffer, const std::string& text) {
    std::memcpy(buffer, text.c_str(), text.length() + 1);
    return buffer;
}

/**
 * The run of one worker: waits for its turn, points the callbacks at its task, counts and reports, removes the task.
 *
 * The stop request is cleared here and nowhere else, so a request made while nothing runs has no effect on any task.
 * Only an exception derived from std::exception is a failed count. Any other exception, and an exception while the
 * failure is reported, leaves the thread and so ends the process: there is no sensible way to continue.
 */
template <typename CountAndReport>
void run_task(VelmoraLibraryData libData, mint id, CountAndReport count_and_report) {
    const std::lock_guard<std::mutex> lock(primecount_mutex);
    wlibData = libData;
    asyncObjectID = id;
    primecount::set_callback(monitor);
    primecount::set_exitcall(false);
    bool failed = false;
    try {
        count_and_report();
    } catch (const std::exception&) {
        failed = true;
    }
    if (failed) raiseAsyncEvent("Error", "$Failed");
    // Through this worker's own table: another count may have changed wlibData.
    libData->ioLibraryFunctions->removeAsynchronousTask(id);
}

void pi(int64_t n, VelmoraLibraryData libData, mint id) {
    run_task(libData, id, [n] { raiseAsyncEvent<mint>("Result", primecount::pi(n)); });
}

void prime(int64_t n, VelmoraLibraryData libData, mint id) {
    run_task(libData, id, [n] { raiseAsyncEvent<mint>("Result", primecount::nth_prime(n)); });
}

void exprpi(std::string n, VelmoraLibraryData libData, mint id) {
    run_task(libData, id, [&n] {
        const std::string m = primecount::pi(n);
        // Never released: the host may read it at any later time, and nothing tells the library when that is done.
        char* const result = copy_string(new char[m.length() + 1], m);
        raiseAsyncEvent("Result", result);
    });
}

/** A count that the host can abort. */
template <int64_t (*Count)(int64_t)>
int abortable_count(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    const mint n = integer_argument(Args, 0);
    PrimeCount_SetTaskCallback(libData);
    mint count = 0;
    try {
        count = Count(n);
    } catch (const std::exception&) {
        return LIBRARY_FUNCTION_ERROR;
    }
    return return_integer(Res, count);
}

/** A count that uses the callback that is installed; its exceptions leave the export. */
template <int64_t (*Count)(int64_t)>
int plain_count(mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    return return_integer(Res, Count(integer_argument(Args, 0)));
}

/** Starts a detached worker with the arguments (n, libData, id). */
template <void (*Worker)(int64_t, VelmoraLibraryData, mint)>
int submit_count(VelmoraLibraryData libData, mint Argc, MArgument* Args) {
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const mint id = integer_argument(Args, 0);
    const mint n = integer_argument(Args, 1);
    std::thread worker(Worker, n, libData, id);
    const ThreadRAII guard(worker);
    return LIBRARY_NO_ERROR;
}

}  // namespace

int PrimeCount_PrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    return abortable_count<primecount::pi>(libData, Argc, Args, Res);
}

int PrimeCount_Prime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    return abortable_count<primecount::nth_prime>(libData, Argc, Args, Res);
}

int PrimeCount_Coprime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const mint a = integer_argument(Args, 0);
    const mint b = integer_argument(Args, 1);
    return return_integer(Res, primecount::phi(a, b));
}

int PrimeCount_Meissel(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_meissel>(Argc, Args, Res);
}

int PrimeCount_DelegliseRivat(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_deleglise_rivat>(Argc, Args, Res);
}

int PrimeCount_Legendre(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_legendre>(Argc, Args, Res);
}

int PrimeCount_Lehmer(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_lehmer>(Argc, Args, Res);
}

int PrimeCount_LMO(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_lmo>(Argc, Args, Res);
}

int PrimeCount_PrimeSieve(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return plain_count<primecount::pi_primesieve>(Argc, Args, Res);
}

int PrimeCount_GetThreads(VelmoraLibraryData /*libData*/, mint /*Argc*/, MArgument* /*Args*/, MArgument Res) {
    return return_integer(Res, mint{primecount::get_num_threads()});
}

int PrimeCount_SetThreads(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    // Narrowed without a check: primecount clamps the number, and the caller gets the new one as the result.
    primecount::set_num_threads(static_cast<int>(integer_argument(Args, 0)));
    return return_integer(Res, mint{primecount::get_num_threads()});
}

int PrimeCount_ExprPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    char* const instr = *Args[0].utf8string;
    const std::string n(instr);
    PrimeCount_SetTaskCallback(libData);
    std::string m;
    try {
        m = primecount::pi(n);
    } catch (const std::exception&) {
        // The argument is disowned only with a result; after a failure the host releases it itself.
        return LIBRARY_FUNCTION_ERROR;
    }
    // The old result is released first, so that two never exist at once. The pointer becomes null: if there is no
    // memory for the new result, the next call must not release the old one again.
    delete[] std::exchange(outstr, nullptr);
    outstr = new char[m.length() + 1];
    copy_string(outstr, m);
    *Res.utf8string = outstr;
    libData->UTF8String_disown(instr);
    return LIBRARY_NO_ERROR;
}

int PrimeCount_SubmitExprPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument /*Res*/) {
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const mint id = integer_argument(Args, 0);
    char* const instr = *Args[1].utf8string;
    const std::string n(instr);
    libData->UTF8String_disown(instr);
    std::thread worker(exprpi, n, libData, id);
    const ThreadRAII guard(worker);
    return LIBRARY_NO_ERROR;
}

int PrimeCount_CreateTask(VelmoraLibraryData libData, mint /*Argc*/, MArgument* /*Args*/, MArgument Res) {
    return return_integer(Res, libData->ioLibraryFunctions->createAsynchronousTaskWithoutThread());
}

int PrimeCount_StopTask(VelmoraLibraryData /*libData*/, mint /*Argc*/, MArgument* /*Args*/, MArgument /*Res*/) {
    primecount::set_exitcall(true);
    return LIBRARY_NO_ERROR;
}

int PrimeCount_SubmitPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument /*Res*/) {
    return submit_count<pi>(libData, Argc, Args);
}

int PrimeCount_SubmitPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument /*Res*/) {
    return submit_count<prime>(libData, Argc, Args);
}
