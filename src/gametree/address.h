// The addresses of listed files on the update server: what the launcher asks for, and what the publisher's
// tools foresee of it.
#pragma once

#include <string>

#include <QByteArray>
#include <QUrl>

// The address that is asked for. `text` is the server's base and a listed path, with nothing escaped: Qt
// escapes what it must, but it takes "%41" for "A", and "?" for the end of the path.
QUrl RequestAddress(const QByteArray& text);

// That text. `base` has its closing slash.
QByteArray AddressText(const std::string& base, std::string listedPath);

// True if the server is asked for this very path.
bool AddressKeepsPath(const std::string& base, const std::string& listedPath);
