add_executable(fuzz_dif_parser fuzz_dif_parser.cpp)
target_link_libraries(fuzz_dif_parser PRIVATE nyx_dv)
target_compile_options(fuzz_dif_parser PRIVATE -fsanitize=fuzzer)
target_link_options(fuzz_dif_parser PRIVATE -fsanitize=fuzzer)
