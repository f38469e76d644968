"""Requests as they are, and a browser that stops where the program would listen."""

import dataclasses
import email.message
import http.cookiejar
import urllib.error
import urllib.parse
import urllib.request

CALLBACK = "http://127.0.0.1:53682/callback"


@dataclasses.dataclass(frozen=True)
class Answer:
    status: int
    headers: email.message.Message
    body: bytes


class _NoRedirects(urllib.request.HTTPRedirectHandler):
    def redirect_request(self, *_):
        return None


class _RedirectsUpToTheProgram(urllib.request.HTTPRedirectHandler):
    def redirect_request(self, req, fp, code, msg, headers, newurl):
        if newurl.startswith(CALLBACK):
            return None
        return super().redirect_request(req, fp, code, msg, headers, newurl)


def _open(opener, request):
    try:
        with opener.open(request, timeout=20) as answer:
            return Answer(answer.status, answer.headers, answer.read()), answer.url
    except urllib.error.HTTPError as refusal:
        with refusal:
            return Answer(refusal.code, refusal.headers, refusal.read()), refusal.url


def ask(method, address, headers=None, form=None):
    """One request; redirects are answers like any other. `form` is sent as a form's values."""
    body = urllib.parse.urlencode(form).encode() if form is not None else b"" if method == "POST" else None
    request = urllib.request.Request(address, method=method, headers=headers or {}, data=body)
    return _open(urllib.request.build_opener(_NoRedirects), request)[0]


def sign_in(address, login, password):
    """Signs in at the page that an authorization request leads to; returns what the program would be told."""
    cookies = urllib.request.HTTPCookieProcessor(http.cookiejar.CookieJar())
    browser = urllib.request.build_opener(cookies, _RedirectsUpToTheProgram)
    _, form = _open(browser, address)
    filled = urllib.parse.urlencode({"login": login, "password": password}).encode()
    answer, _ = _open(browser, urllib.request.Request(form, data=filled))
    query = urllib.parse.urlsplit(answer.headers["Location"]).query
    return dict(urllib.parse.parse_qsl(query))
