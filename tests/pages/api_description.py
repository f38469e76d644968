"""docs/openapi.yaml: its operations, and what it says of an answer."""

import json
import pathlib

import jsonschema
import yaml

ROOT = pathlib.Path(__file__).resolve().parents[2]
DESCRIPTION = yaml.safe_load((ROOT / "docs/openapi.yaml").read_text(encoding="utf-8"))
METHODS = ("get", "post", "put", "patch", "delete", "head", "options", "trace")


def resolved(node):
    """What a reference leads to; anything else is itself."""
    while "$ref" in node:
        place = DESCRIPTION
        for step in node["$ref"].removeprefix("#/").split("/"):
            place = place[step]
        node = place
    return node


def parts(node):
    """Every object in the description, itself included."""
    if isinstance(node, dict):
        yield node
    for child in node.values() if isinstance(node, dict) else node if isinstance(node, list) else ():
        yield from parts(child)


def operations():
    """Each operation with its method and path, such as ("GET", "/api/status", {…})."""
    for path, item in DESCRIPTION["paths"].items():
        for method in METHODS:
            if method in item:
                yield method.upper(), path, item[method]


def fault(schema, value):
    """What is wrong with a value; None when nothing is."""
    validator = jsonschema.Draft202012Validator({**schema, "components": DESCRIPTION["components"]})
    found = next(iter(validator.iter_errors(value)), None)
    return found and f"{found.json_path}: {found.message}"


def schema_named(name):
    return DESCRIPTION["components"]["schemas"][name]


def described_status(operation, status):
    """The key in the operation's `responses` under which a status falls."""
    exact, family = str(status), f"{status // 100}XX"
    return next(key for key in (exact, family, "default") if key in operation["responses"])


def faults_of(answer, operation):
    """What in an answer the description does not allow."""
    response = resolved(operation["responses"][described_status(operation, answer.status)])
    found = []
    for name, header in response.get("headers", {}).items():
        if name not in answer.headers:
            found += [f"{name} is missing"] if header.get("required") else []
        elif wrong := fault(header["schema"], answer.headers[name]):
            found.append(f"{name}: {wrong}")
    content = response.get("content")
    if content is None:
        return found
    media_type = answer.headers.get_content_type()
    if media_type not in content:
        return [*found, f"{media_type} instead of {' or '.join(content)}"]
    if "schema" in content[media_type]:
        wrong = fault(content[media_type]["schema"], json.loads(answer.body))
        found += [wrong] if wrong else []
    return found
