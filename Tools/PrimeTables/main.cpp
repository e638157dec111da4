/**
 * @file   main.cpp
 * @brief  prime-tables: finds the tables of the primality tests up to 64 bits, and writes their header.
 */
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "commands.h"
#include "header_writer.h"

namespace prime_tables {

void add_buckets(CLI::App& command, std::vector<u32>& buckets) {
    command.add_option("--buckets", buckets, "first bucket and number of buckets of a block; without it, all buckets")
        ->expected(2);
}

BucketBlock block_of(const std::vector<u32>& buckets) {
    return buckets.empty() ? BucketBlock{} : BucketBlock{buckets[0], buckets[1]};
}

void write_text(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

namespace {

struct Header {
    std::filesystem::path folder;
    std::filesystem::path output;
};

void add_header(CLI::App& program) {
    const auto arguments = std::make_shared<Header>();
    CLI::App& command =
        *program.add_subcommand("header", "Writes the header with the tables of the primality tests up to 64 bits.");
    command.add_option("folder", arguments->folder, "folder of the data files")->required();
    command.add_option("output", arguments->output, "header to write")->required();
    command.callback([arguments] { write_text(arguments->output, prime_data_header(arguments->folder)); });
}

}  // namespace
}  // namespace prime_tables

int main(int argc, char** argv) {
    using namespace prime_tables;
    CLI::App program{"Finds the tables of the primality tests up to 64 bits, and writes them as a header."};
    program.require_subcommand(1);
    add_enumerate(program);
    add_derive(program);
    add_sample(program);
    add_header(program);
    try {
        CLI11_PARSE(program, argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "prime-tables: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
