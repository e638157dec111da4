/**
 * @file   sanitizer_options.cpp
 * @brief  What the sanitizers do in fuzz targets that start threads.
 *
 * The leak sanitizer looks through the stacks of all threads, and crashes now and then where one of them is just
 * ending, as a counting task's thread may be. Leaks of these calls are counted to the block by the leak tests instead.
 */
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}
