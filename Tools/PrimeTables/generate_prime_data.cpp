/**
 * @file   generate_prime_data.cpp
 * @brief  Writes CSource/Prime/prime_data.h from the committed data files.
 */
#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>

#include "header_writer.h"

int main(int argc, char** argv) {
    std::filesystem::path folder;
    std::filesystem::path output;
    CLI::App app{"Writes the header with the tables of the primality tests up to 64 bits."};
    app.add_option("folder", folder, "folder of the data files")->required();
    app.add_option("output", output, "header to write")->required();
    CLI11_PARSE(app, argc, argv);
    std::ofstream out(output);
    out << prime_tables::primeDataHeader(folder);
    if (out.flush()) return 0;
    std::cerr << "cannot write " << output << '\n';
    return 1;
}
