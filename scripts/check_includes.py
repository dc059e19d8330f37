#!/usr/bin/env python3
"""Holds every #include of src/ to the dependencies declared in the CMakeLists files.

A module folder's sources may include headers of their own module and of the modules and
libraries named in its xylem_module(... DEPS ... PRIVATE_DEPS ...) call; its headers only those
of DEPS, since whoever includes them sees them too. Front ends (xylem_program) may include what
they link. Test suites (xylem_test_suite) may include what they reach through their declared
dependencies. Exit code 1 lists every include that breaks the declared graph.
"""
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CALL = re.compile(r'(xylem_module|xylem_program|xylem_test_suite)\(\s*([\w]+)(.*?)\)', re.S)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
# System headers of the libraries we declare, by the include prefix that names them.
EXTERNAL = {
    'nlohmann/': 'nlohmann_json::nlohmann_json',
    'pcre2.h': 'PkgConfig::PCRE2',
    'CLI/': 'CLI11::CLI11',
    'libxml/': 'LibXml2::LibXml2',
    'iconv.h': 'Iconv::Iconv',
    'gtest/': 'GTest::gtest',
    'gmock/': 'GTest::gtest',
    'Qt': 'Qt6::Widgets',
    'benchmark/': 'benchmark::benchmark',
    'expat.h': 'EXPAT::EXPAT',
}


def parse_args(text):
    groups, current = {'DEPS': [], 'PRIVATE_DEPS': []}, None
    for word in text.split():
        if word in groups:
            current = word
        elif current:
            groups[current].append(word)
    return groups['DEPS'], groups['PRIVATE_DEPS']


def declarations():
    modules = {}  # target -> dict(folder, kind, deps, private)
    for top in ('src', 'tests'):
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            if 'CMakeLists.txt' not in files:
                continue
            text = open(os.path.join(folder, 'CMakeLists.txt'), encoding='utf-8').read()
            text = re.sub(r'#.*', '', text)
            for kind, name, rest in CALL.findall(text):
                deps, private = parse_args(rest)
                target = {'xylem_module': 'xylem::' + name, 'xylem_program': name,
                          'xylem_test_suite': 'test_' + name}[kind]
                modules[target] = {'folder': os.path.relpath(folder, ROOT), 'kind': kind,
                                   'deps': deps, 'private': private}
    return modules


def closure(modules, deps):
    seen, todo = set(), list(deps)
    while todo:
        dep = todo.pop()
        if dep in seen:
            continue
        seen.add(dep)
        if dep in modules:
            todo.extend(modules[dep]['deps'])
    return seen


def main():
    modules = declarations()
    owner = {m['folder']: t for t, m in modules.items() if m['kind'] != 'xylem_test_suite'}
    problems = []
    for target, module in sorted(modules.items()):
        folder = os.path.join(ROOT, module['folder'])
        for name in sorted(os.listdir(folder)):
            if not name.endswith(('.hpp', '.cpp')):
                continue
            path = os.path.join(folder, name)
            if module['kind'] == 'xylem_module':
                allowed = set(module['deps']) | ({target} if name.endswith('.hpp') else
                                                  {target} | set(module['private']))
                if name.endswith('.cpp'):
                    allowed |= set(module['deps'])
            elif module['kind'] == 'xylem_program':
                allowed = set(module['deps'])
            else:
                # A suite reaches what its dependencies reach, and tests the folder it mirrors.
                mirrored = owner.get('src' + module['folder'][len('tests'):])
                allowed = closure(modules, module['deps']) | {'GTest::gtest', mirrored}
                if 'xylem_test_support' in module['deps']:
                    allowed |= closure(modules, ['xylem::xml_check', 'xylem::xml_format'])
            for quote, header in INCLUDE.findall(open(path, encoding='utf-8').read()):
                needed = None
                if quote == '"':
                    home = os.path.dirname(header)
                    if os.path.exists(os.path.join(ROOT, 'src', header)):
                        needed = owner.get(os.path.join('src', home))
                        if needed is None:
                            problems.append(f'{os.path.relpath(path, ROOT)}: "{header}" lies '
                                            'in no declared module')
                            continue
                    elif header.startswith('support/') or not home:
                        continue  # test support, or a header beside the file
                if needed is None:
                    needed = next((lib for prefix, lib in EXTERNAL.items()
                                   if header.startswith(prefix)), None)
                if needed and needed != target and needed not in allowed:
                    problems.append(f'{os.path.relpath(path, ROOT)}: includes "{header}" of '
                                    f'{needed}, which {target} does not declare')
    for problem in problems:
        print(problem)
    if problems:
        print(f'{len(problems)} include(s) break the declared dependencies', file=sys.stderr)
        return 1
    print(f'includes follow the declared dependencies ({len(modules)} targets)')
    return 0


if __name__ == '__main__':
    sys.exit(main())
