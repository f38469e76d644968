"""The project's own source checks find what they are for, and nothing else."""

import pathlib
import subprocess

import pytest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


def run_check(name, path):
    answer = subprocess.run([SCRIPTS / name, path], capture_output=True, text=True, check=False)
    assert answer.stderr == ""
    assert (answer.returncode == 0) == (answer.stdout == "")
    return answer.stdout


def coroutine_faults(tmp_path, body):
    source = tmp_path / "Sample.cpp"
    source.write_text("Task<void> sample()\n{\n" + body + "\n}\n")
    return [line.split(": ", 1)[1].split(" in a statement")[0] for line in run_check("check-coroutines", source).splitlines()]


@pytest.mark.parametrize(
    "body",
    [
        "auto result = co_await operation(named);",
        "co_await sleepFor(clock, 20s);",
        "co_return co_await operation(std::move(named));",
        "if (co_await operation(named)) { other(Value{1}); }",
        "const Value value{1};\nauto result = co_await operation(value);",
        "const auto chosen = yes ? one : two;\nco_await operation(chosen);",
        "scope.spawn([&]() -> Task<void> { co_await operation(); }());",
        "auto task = [](int n) -> Task<int> { co_return co_await operation(n); };\nauto other = co_await task(1);",
        "try {\n    co_await operation(values[0]);\n} catch (const Error&) {\n    failed = true;\n}",
        "for (const auto& item : items) {\n    co_await operation(item);\n}",
        "// co_await operation(Value{1});\nco_await operation(); // a ? b : c",
        'co_await operation(QStringLiteral("a ? {b} [c]"));',
        "switch (kind) {\ncase Kind::one:\n    co_await operation();\n    break;\n}",
        "const int values[] = {1, 2};\nco_await operation(values[1]);",
    ],
)
def test_safe_co_await_passes(tmp_path, body):
    assert coroutine_faults(tmp_path, body) == []


@pytest.mark.parametrize(
    "body, fault",
    [
        ("auto result = co_await operation(Value{1});", "a braced initialiser"),
        ("auto result = co_await operation({1, 2});", "a braced initialiser"),
        ("Pair pair{co_await one(), 2};", "a braced initialiser"),
        ("Pair pair = {co_await one(), 2};", "a braced initialiser"),
        ("co_return {co_await one(), 2};", "a braced initialiser"),
        ("auto result = co_await operation(yes ? one : two);", "a conditional operator"),
        ("auto result = yes ? co_await one() : 0;", "a conditional operator"),
        ("co_await operation([value] { return value; });", "a lambda"),
        ("co_await operation([] { return Value{1}; }, named);", "a lambda"),
        ("use([] { return 1; }, co_await operation());", "a lambda"),
        ("auto sum = co_await one() + co_await two();", "another co_await"),
        ("auto result = co_await outer(co_await inner());", "another co_await"),
        ("if (co_await one() && co_await two()) {\n}", "another co_await"),
    ],
)
def test_miscompiled_co_await_is_found(tmp_path, body, fault):
    assert coroutine_faults(tmp_path, body) == [fault]


def test_line_of_the_breach_is_named(tmp_path):
    source = tmp_path / "Sample.h"
    source.write_text("/* one\n   two */\n\nco_await operation(Value{1});\n")
    assert run_check("check-coroutines", tmp_path).startswith(f"{source}:4: ")


def write_tree(tmp_path, files):
    for name, text in files.items():
        file = tmp_path / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
    return tmp_path


HOUSE = {
    "main.cpp": '#include "ui/App.h"\n',
    "core/CMakeLists.txt": "quillo_add_library(core SOURCES a.cpp LIBRARIES ICU::uc)\n",
    "core/Task.h": "#include <QObject>\n",
    "platform/desktop/CMakeLists.txt": "quillo_add_library(platform/desktop SOURCES a.cpp LIBRARIES quillo_core)\n",
    "platform/tray/CMakeLists.txt": "quillo_add_library(platform/tray SOURCES a.cpp\n    LIBRARIES\n        quillo_platform_desktop\n)\n",
    "platform/tray/Item.cpp": '#include "platform/desktop/X11.h"\n#include "platform/tray/Item.h"\n',
    "store/CMakeLists.txt": "quillo_add_library(store SOURCES a.cpp LIBRARIES quillo_core) # not quillo_ui\n",
    "store/Store.cpp": '#include "store/Store.h"\n#include <core/Task.h>\n',
    "store/days/Days.cpp": '#include "store/Store.h"\n#include "core/Task.h"\n',
}


def test_what_is_declared_as_linked_may_be_included(tmp_path):
    assert run_check("check-includes", write_tree(tmp_path, HOUSE)) == ""


@pytest.mark.parametrize(
    "name, text",
    [
        ("core/Task.h", '#include "store/Store.h"\n'),
        ("store/Store.cpp", '#  include <platform/desktop/X11.h>\n'),
        ("store/days/Days.cpp", '#include "platform/tray/Item.h"\n'),
        ("platform/tray/Item.cpp", '#include "core/Task.h"\n'),
        ("store/Store.cpp", '#include "../core/Task.h"\n'),
        ("core/CMakeLists.txt", "quillo_add_library(core SOURCES a.cpp LIBRARIES quillo_store)\n"),
        (
            "platform/desktop/CMakeLists.txt",
            "quillo_add_library(platform/desktop SOURCES a.cpp LIBRARIES quillo_platform_tray)\n",
        ),
        ("store/CMakeLists.txt", "quillo_add_library(store SOURCES a.cpp LIBRARIES quillo_core quillo_cellar)\n"),
        ("platform/Helper.h", "\n"),
    ],
)
def test_breach_of_what_is_declared_is_found(tmp_path, name, text):
    assert run_check("check-includes", write_tree(tmp_path, HOUSE | {name: text})) != ""


def test_large_file_that_is_no_picture_is_found(tmp_path):
    subprocess.run(["git", "init", "-q", tmp_path], check=True)
    for name, size in {"core": 1_000_001, "small.txt": 1_000_000, "look.png": 1_000_001, "trace.json": 2_000_000}.items():
        (tmp_path / name).write_bytes(b"x" * size)
    subprocess.run(["git", "-C", tmp_path, "add", "."], check=True)
    assert [line.split(":")[0] for line in run_check("check-sizes", tmp_path).splitlines()] == ["core", "trace.json"]
