// trustcertificate FILE: puts the certificate in this file (DER) into the user's root store, for the road
// under Wine.
#include <fstream>
#include <iterator>
#include <vector>

#include <windows.h>

#include <wincrypt.h>

int main(int count, char** arguments)
{
    std::ifstream file(count == 2 ? arguments[1] : "", std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const HCERTSTORE store = CertOpenSystemStoreA(0, "ROOT");
    const BOOL added = CertAddEncodedCertificateToStore(
        store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
        static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    return CertCloseStore(store, 0) && added ? 0 : 1;
}
