// SPDX-License-Identifier: MIT
//
// Numbers as text and back, names from outside in a sentence, and the name that was meant.
//
// It prints:
//
//     3,56e-02 g, 0.3, 0.30000000000000004
//     'top\x09of the table' has 3 samples
//     there is no 'hol' (did you mean 'hold'?)
#include <cstdio>
#include <string>

#include <KvxDevCommon01/KvxDevCommon01.h>

int main() {
    CString level;
    CConvData::ValToStr(0.0356, &level, L"%.2e g", "German");
    std::printf("%ls, %s, %s\n", level.c_str(), kvx::FormatNumber(0.1 + 0.2).c_str(),
                kvx::FormatExact(0.1 + 0.2).c_str());
    const std::string name = "top\tof the table";
    std::printf("%s has %s\n", kvx::Quote(name).c_str(), kvx::Count(3, "sample").c_str());
    const std::string near = kvx::NoSuchName("hol", {"hold", "zeros", "periodic"});
    std::printf("%s\n", near.c_str());
    return CConvData::StrToIntW(L" 42 samples") == 42 && near.find("'hold'") != near.npos ? 0 : 1;
}
