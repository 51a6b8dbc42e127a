#include "checkserver/answer.h"

#include <QNetworkReply>

namespace {
std::string StatusText(const Answer& answer)
{
    return std::to_string(answer.status) + (answer.phrase.empty() ? "" : " " + answer.phrase);
}
} // namespace

Answer ReadAnswer(QNetworkReply& reply)
{
    Answer answer;
    answer.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.phrase = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().toStdString();
    if (reply.error() != QNetworkReply::NoError)
        answer.failure = reply.errorString().toStdString();
    answer.location = reply.rawHeader("Location").toStdString();
    answer.type = reply.rawHeader("Content-Type").toStdString();
    answer.packing = reply.rawHeader("Content-Encoding").toStdString();
    answer.chunked = reply.rawHeader("Transfer-Encoding").toLower().contains("chunked");
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    if (length.isValid() && answer.packing.empty())
        answer.announced = length.toLongLong();
    return answer;
}

std::string FindFault(const Answer& answer, bool headOnly)
{
    if (answer.status == 0)
        return "no answer: " + (answer.failure.empty() ? "this is no web server" : answer.failure);
    if (answer.status == 404 || answer.status == 410)
        return "missing (" + StatusText(answer) + ")";
    if (answer.status >= 400)
        return "refused (" + StatusText(answer) + ")";
    if (answer.status >= 300)
        return "redirected (" + StatusText(answer) +
               (answer.location.empty() ? "" : ", to " + answer.location) +
               "): the launcher does not follow it, and writes the page that comes instead into the file";
    if (!headOnly && answer.received < answer.announced)
        return "cut short: " + std::to_string(answer.received) + " of " + std::to_string(answer.announced) +
               " bytes came";
    if (!answer.failure.empty())
        return "broken off after " + std::to_string(answer.received) + " bytes: " + answer.failure;
    return "";
}

std::string FindLostLength(const Answer& answer)
{
    const std::string meaning = ": the launcher can't tell a broken transfer from a complete one";
    if (!answer.packing.empty())
        return "packed as " + answer.packing + ", so its length is lost" + meaning;
    if (answer.chunked)
        return "sent in chunks, without its length" + meaning;
    return answer.announced < 0 ? "sent without its length" + meaning : "";
}
