#include "net/HTTPMessage.h"

namespace quillo {

using namespace Qt::Literals::StringLiterals;

void HTTPRequest::setAddress(const QString& address) {
    url = QUrl(address, QUrl::StrictMode); // the tolerant mode would mend what the user has to mend
    const auto text = QStringView(address).split(u'#').first();
    const auto authority = text.indexOf("://"_L1) + 3;
    qsizetype start = authority;
    while (start < text.size() && !u"/?"_s.contains(text[start])) {
        ++start;
    }
    // Legal in paths and queries (RFC 3986, section 3) beside letters, digits and "-._~".
    target = text.mid(start).toUtf8().toPercentEncoding("!$&'()*+,;=:@/?").replace("%25", "%");
    if (!target.startsWith('/')) {
        target.prepend('/');
    }
}

void HTTPRequest::setHeader(const QByteArray& name, const QByteArray& value) {
    std::erase_if(headers, [&name](const Header& header) {
        return header.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    headers.push_back({name, value});
}

} // namespace quillo
