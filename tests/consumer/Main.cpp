// SPDX-License-Identifier: MIT
//
// What a program of the suite needs of the package: every public header, the library's symbols, and
// exceptions that cross its boundary.
#include <KvxDevCommon01/KvxDevCommon01.h>

int main() {
    kvx::MemoryStream stream;
    CArchive out(stream, CArchive::store);
    out << CString(L"stored");
    out.Flush();

    CArchive in(stream, CArchive::load);
    CString text;
    in >> text;
    if (text != L"stored") return 1;
    try {
        in >> text;
    } catch (const CFileException& e) {
        return e.m_cause == CFileException::endOfFile ? 0 : 1;
    }
    return 1;
}
