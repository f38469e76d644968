#include "net/HTTPMessage.h"

namespace quillo {

void HTTPRequest::setHeader(const QByteArray& name, const QByteArray& value) {
    std::erase_if(headers, [&name](const Header& header) {
        return header.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    headers.push_back({name, value});
}

} // namespace quillo
