"""docs/openapi.yaml describes what the sandbox answers, what the program takes, and what docs/backend-api.md says."""

import base64
import email.message
import hashlib
import json
import re
import secrets
import urllib.parse

import jsonschema
import pytest
from api_description import (
    DESCRIPTION,
    ROOT,
    described_status,
    fault,
    faults_of,
    operations,
    parts,
    resolved,
    schema_named,
)
from harness.sandbox import Sandbox
from web import CALLBACK, Answer, ask, sign_in

PAGE = (ROOT / "docs/backend-api.md").read_text(encoding="utf-8")
RECORDS = {"ledger": "Ledger", "status": "Status", "snapshots": "SnapshotList"}
AUTHORIZATION = "/realms/quillo/protocol/openid-connect/auth"
TOKEN = "/realms/quillo/protocol/openid-connect/token"
# Each makes the sandbox answer in shapes that it does not answer in by itself.
SCENARIOS = (
    {},
    {"link": ["outage", "reconnect", "add-card"]},
    {"link": {"items": []}},
    {"pending": 87.5, "totalOwed": -1234.5},
    {"lines": 0, "snapshots": 0},
    {"lines": 50, "shortLines": True, "snapshots": 2},
)


@pytest.fixture
def sandbox(tmp_path):
    server = Sandbox(tmp_path)
    yield server
    server.stop()


@pytest.fixture
def asked(sandbox):
    """Asks the sandbox by an operation's method and path; holds the answer to the description and notes its place."""
    found = set()
    known = {(method, path): operation for method, path, operation in operations()}

    def ask_described(method, path, date="", query="", **request):
        operation = known[method, path]
        origin = sandbox.identity if "servers" in DESCRIPTION["paths"][path] else sandbox.http
        answer = ask(method, origin + path.replace("{date}", date) + query, **request)
        assert faults_of(answer, operation) == []
        found.add((method, path, described_status(operation, answer.status)))
        return answer

    ask_described.found = found
    return ask_described


def api_operations():
    return [(method, path) for method, path, _ in operations() if path.startswith("/api/")]


def newest_day(sandbox):
    body = ask("GET", f"{sandbox.http}/api/snapshots", headers={"X-API-Key": sandbox.api_key}).body
    return next((day["snapshot_date"] for day in json.loads(body)["snapshots"]), "none")


def code_challenge(verifier):
    return base64.urlsafe_b64encode(hashlib.sha256(verifier.encode()).digest()).decode().rstrip("=")


def authorization_query(verifier):
    """The described parameters, with the values they are described by."""
    own = {"redirect_uri": CALLBACK, "code_challenge": code_challenge(verifier), "state": secrets.token_urlsafe(24)}
    query = {}
    for parameter in DESCRIPTION["paths"][AUTHORIZATION]["get"]["parameters"]:
        name, schema = parameter["name"], parameter["schema"]
        query[name] = schema["const"] if "const" in schema else own[name]
        assert fault(schema, query[name]) is None
    return "?" + urllib.parse.urlencode(query, quote_via=urllib.parse.quote)


def take_token(asked, **form):
    form = {"client_id": "quillo-mac", **form}
    content = DESCRIPTION["paths"][TOKEN]["post"]["requestBody"]["content"]
    assert fault(content["application/x-www-form-urlencoded"]["schema"], form) is None
    return asked("POST", TOKEN, form=form)


def every_answer_of_the_backend(asked, sandbox):
    good = {"X-API-Key": sandbox.api_key}
    for scenario in SCENARIOS:
        sandbox.scenario(**scenario)
        for method, path in api_operations():
            asked(method, path, newest_day(sandbox), headers=good)
    for method, path in api_operations():
        for bad in ({}, {"X-API-Key": "wrong"}, {"Authorization": "Bearer wrong"}):
            assert asked(method, path, "2026-11-19", headers=bad).status == 401
    assert asked("GET", "/api/snapshot/{date}", "2020-01-01", headers=good).status == 404
    sandbox.scenario(answers={"all": {"status": 503}})
    for method, path in api_operations():
        assert asked(method, path, "2026-11-19", headers=good).status == 503
    for page in ("/link", "/ledger"):
        asked("GET", page)


def every_answer_of_the_provider(asked, sandbox):
    verifier = secrets.token_urlsafe(48)
    query = authorization_query(verifier)
    assert asked("GET", AUTHORIZATION, query=query).status == 303
    assert asked("GET", AUTHORIZATION, query=query.replace("callback", "elsewhere")).status == 400
    told = sign_in(sandbox.identity + AUTHORIZATION + query, sandbox.email, sandbox.password)
    code = {"grant_type": "authorization_code", "redirect_uri": CALLBACK, "code_verifier": verifier}
    tokens = json.loads(take_token(asked, code=told["code"], **code).body)
    assert take_token(asked, code="wrong", **code).status == 400
    take_token(asked, grant_type="refresh_token", refresh_token=tokens["refresh_token"])
    assert take_token(asked, grant_type="refresh_token", refresh_token="wrong").status == 400
    assert asked("POST", TOKEN, form={"client_id": "wrong", "grant_type": "refresh_token"}).status == 401


def test_every_answer_of_the_sandbox_is_described_and_every_described_one_is_given(asked, sandbox):
    every_answer_of_the_backend(asked, sandbox)
    every_answer_of_the_provider(asked, sandbox)
    described = {(method, path, status) for method, path, operation in operations() for status in operation["responses"]}
    assert asked.found == described


def test_other_methods_are_refused_with_the_described_one(sandbox):
    for method, path in api_operations():
        other = "POST" if method == "GET" else "GET"
        answer = ask(other, sandbox.http + path.replace("{date}", "2026-11-19"))
        assert (answer.status, answer.headers["Allow"]) == (405, method)


def answer(status, body, media_type="application/json", challenge="Bearer"):
    headers = email.message.Message()
    headers["Content-Type"] = media_type
    headers["WWW-Authenticate"] = challenge
    return Answer(status, headers, body)


@pytest.mark.parametrize(
    "wrong",
    [
        answer(200, b'{"items": [{"item_id": "a"}]}'),
        answer(200, b'{"items": []}', media_type="text/html"),
        answer(401, b'{"error": "none", "message": "none"}', challenge='Basic realm="quillo"'),
        answer(500, b'{"problem": "none"}'),
    ],
)
def test_an_answer_that_is_not_described_is_found(wrong):
    (operation,) = (operation for _, path, operation in operations() if path == "/api/status")
    assert faults_of(answer(200, b'{"items": []}'), operation) == []
    assert faults_of(wrong, operation) != []


@pytest.mark.parametrize("record", RECORDS)
def test_the_schemas_take_and_refuse_what_the_program_does(record):
    """What is no JSON, or nested beyond reason, is no matter of schemas."""
    bodies = json.loads((ROOT / f"tests/bodies/{record}.json").read_text(encoding="utf-8"))
    judged = 0
    for each in bodies:
        if re.match("body: (not|empty|nested|$)", each.get("refused", "")) or "nested" in each["what"]:
            continue
        wrong = fault(schema_named(RECORDS[record]), json.loads(each["body"].removeprefix("\ufeff")))
        assert (wrong is None) == ("refused" not in each), f"{each['what']}: {wrong}"
        judged += 1
    assert judged > 50


def test_every_reference_leads_somewhere_and_every_component_is_used():
    used = {part["$ref"] for part in parts(DESCRIPTION) if "$ref" in part}
    for reference in used:
        assert resolved({"$ref": reference})
    kinds = ("schemas", "responses")
    assert used == {f"#/components/{kind}/{name}" for kind in kinds for name in DESCRIPTION["components"][kind]}


def test_the_schemas_are_schemas():
    for schema in DESCRIPTION["components"]["schemas"].values():
        jsonschema.Draft202012Validator.check_schema(schema)


def rows(heading):
    """The tables of the page that begin with these columns, each as a list of rows."""
    for block in re.findall(rf"^\| {heading}.*\n\|[-|]+\n((?:\|.*\n)+)", PAGE, re.MULTILINE):
        yield [[cell.strip() for cell in line.strip("|").split("|")] for line in block.splitlines()]


def test_the_page_lists_the_described_requests():
    (table,) = rows(r"Method \| Path")
    assert {(row[0], row[1].strip("`")) for row in table} == set(api_operations())
    (pages,) = rows(r"Path \| What for")
    described = {path for _, path, operation in operations() if operation["tags"] == ["pages"]}
    assert {row[0].strip("`") for row in pages} == described


def test_the_page_lists_the_described_members():
    names = ("Ledger", "LedgerLine", "Status", "BankLink", "SnapshotList", "SnapshotSummary")
    tables = list(rows(r"Key \| Type \| Presence"))
    assert len(tables) == len(names)
    for name, table in zip(names, tables):
        own = [row for row in table if "." not in row[0]]
        schema = schema_named(name)
        assert {row[0].strip("`") for row in own} == set(schema["properties"]), name
        required = {row[0].strip("`") for row in own if row[2].startswith("required")}
        assert required == set(schema["required"]), name


def test_the_examples_of_the_page_are_right():
    examples = re.findall(r"^```json\n(.*?)^```", PAGE, re.MULTILINE | re.DOTALL)
    names = ("Ledger", "Status", "SnapshotList", "Error")
    assert [fault(schema_named(name), json.loads(text)) for name, text in zip(names, examples, strict=True)] == [None] * 4
