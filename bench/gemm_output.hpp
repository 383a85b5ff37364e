// Tables, CSV and JSON of a gemm comparison.
#pragma once

#include "gemm_bench.hpp"

#include <cstdio>
#include <string>

namespace orb::bench {

//! The libraries: what each says about itself, its file and threads, or why it is n/a.
void print_libraries(std::FILE *out, const GemmRun &run);

//! One shape: GFLOPS (best and median call), calls, check, and orb's ratios.
void print_shape(std::FILE *out, const GemmRun &run, const ShapeResult &r);

//! One line per shape with every library's GFLOPS and orb's ratios.
void print_summary(std::FILE *out, const GemmRun &run);

//! `text` as a JSON string literal, quotes included.
std::string json_string(const std::string &text);

//! A number for JSON: null when NaN or infinite, else the shortest exact-enough form.
std::string json_number(double value);

//! Writes the CSV (one row per shape and library) or the JSON document; false with a message.
bool write_csv(const std::string &path, const GemmRun &run, std::string &error);
bool write_json(const std::string &path, const GemmRun &run, std::string &error);

}  // namespace orb::bench
