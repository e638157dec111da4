/**
 * @file   sanitizer_options.cpp
 * @brief  The options of the sanitizers in fuzz targets that start threads.
 *
 * The leak sanitizer reads the stacks of all threads, and crashes now and then when one of them is just ending, as a
 * counting task's thread may be. The leak tests count the blocks of these calls instead.
 */
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}
