// Text services on arbitrary bytes: no read beyond the end, a consistent order, lower-casing that never grows
// and never changes what the comparison sees, and conversions that survive a round trip.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/text.h"

namespace {

void Check(bool bCondition) {
    if (!bCondition) std::abort();
}

int Sign(int n) { return n < 0 ? -1 : (n > 0 ? 1 : 0); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // Two texts: the bytes before and after the first zero (or the two halves), each ended where it is.
    std::string input(reinterpret_cast<const char *>(data), size);
    size_t nCut = input.find('\0');
    if (nCut == std::string::npos) nCut = size / 2;
    std::string a = input.substr(0, nCut);
    std::string b = nCut < size ? input.substr(nCut + 1) : std::string();
    a = a.c_str(); // as C text: up to the first zero
    b = b.c_str();

    Check(lstrcmpiA(a.c_str(), a.c_str()) == 0);
    Check(Sign(lstrcmpiA(a.c_str(), b.c_str())) == -Sign(lstrcmpiA(b.c_str(), a.c_str())));

    std::string lower = a;
    CharLowerA(lower.data());
    size_t nLower = std::strlen(lower.c_str());
    Check(nLower <= a.size());
    Check(lstrcmpiA(a.c_str(), lower.c_str()) == 0);
    std::string again = lower.substr(0, nLower);
    CharLowerA(again.data());
    Check(std::strcmp(again.c_str(), lower.c_str()) == 0);

    std::u16string wide = Utf8ToUtf16(a);
    Check(Utf8ToUtf16(Utf16ToUtf8(wide)) == wide);
    std::u16string wideLower = wide;
    CharLowerW(wideLower.data());
    Check(lstrcmpiW(wide.c_str(), wideLower.c_str()) == 0);
    std::u16string wideB = Utf8ToUtf16(b);
    Check(Sign(lstrcmpiW(wide.c_str(), wideB.c_str())) == -Sign(lstrcmpiW(wideB.c_str(), wide.c_str())));
    return 0;
}
