// Runs each file named on the command line once through a fuzz target, as a libFuzzer binary does
// when given files. Compilers without libFuzzer link their fuzz targets with this instead, so the
// targets still build and their smoke runs still run.
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzSupport.h"

int main(int argc, char** argv)
{
	for (int i = 1; i < argc; ++i) {
		std::ifstream in(argv[i], std::ios::binary);
		fuzz::check(in.is_open(), ("cannot read " + std::string(argv[i])).c_str());
		std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
		LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
	}
	printf("%d inputs run\n", argc - 1);
	return 0;
}
