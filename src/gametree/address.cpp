#include "gametree/address.h"

#include "helpers/text.h"

QUrl RequestAddress(const QByteArray& text)
{
    return QUrl::fromEncoded(text, QUrl::TolerantMode);
}

QByteArray AddressText(const std::string& base, std::string listedPath)
{
    ReplaceAll(listedPath, "\\", "/");
    return QByteArray::fromStdString(base + listedPath);
}

bool AddressKeepsPath(const std::string& base, const std::string& listedPath)
{
    const QByteArray text = AddressText(base, listedPath);
    const QString wanted = RequestAddress(QByteArray::fromStdString(base)).path(QUrl::FullyDecoded) +
                           QString::fromUtf8(text.mid(static_cast<int>(base.size())));
    return RequestAddress(text).path(QUrl::FullyDecoded) == wanted;
}
