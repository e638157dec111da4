/**
 * @file   headers.cpp
 * @brief  The program for which the headers of the tests are compiled.
 */

int main() {
    return 0;
}
