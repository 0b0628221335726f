// SPDX-License-Identifier: MIT
'use strict';
// Runs the cases of a copy of test262 with the library in place of the script engine's own regular
// expressions: the assertions of each case judge what the library answers.
//
//   node run.js <suite> <program that answers> <table of differences> [--list] [--only <text>]
//
// --list prints every case, --only takes those whose name contains the text.
//
// A case belongs to the pattern language when it asks for a search or a compilation without the
// flags u, y, s and d, and when it passes with the script engine's own answers in the same setting.
// Each such case has to pass, or to stand in the table with the decision that explains it (see
// docs/decisions.md); one that stands there and passes is an error as well.
const child_process = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const vm = require('vm');

const folders = [
  'built-ins/RegExp',
  'built-ins/String/prototype/match',
  'built-ins/String/prototype/replace',
  'built-ins/String/prototype/search',
  'built-ins/String/prototype/split',
  'language/literals/regexp',
  'annexB/built-ins/RegExp',
  'annexB/language/literals/regexp',
];
// Later additions to the language of scripts.
const foreignFeatures = [
  'regexp-named-groups', 'regexp-lookbehind', 'regexp-unicode-property-escapes', 'regexp-dotall',
  'regexp-match-indices', 'cross-realm',
];
const sharedFlags = /^[gim]*$/;
const secondsForACase = 60;

// The program that answers, asked one question at a time.
class Library {
  constructor(program) {
    this.folder = fs.mkdtempSync(path.join(os.tmpdir(), 'conformance-'));
    const pipes = ['questions', 'answers'].map((name) => path.join(this.folder, name));
    child_process.execFileSync('mkfifo', pipes);
    this.process = child_process.spawn(program, pipes, { stdio: ['ignore', 'ignore', 'inherit'] });
    this.questions = fs.openSync(pipes[0], 'w');
    this.answers = fs.openSync(pipes[1], 'r');
    this.buffer = Buffer.alloc(1 << 16);
  }

  // null for a bad pattern, [] for no match, or an array of [start, end] or undefined.
  ask(pattern, flags, subject, start) {
    const bits = (flags.includes('i') ? 2 : 0) | (flags.includes('m') ? 4 : 0);
    fs.writeSync(this.questions, `${bits} ${start} ${hex(pattern)} ${hex(subject)}\n`);
    let line = '';
    while (!line.endsWith('\n')) {
      const length = fs.readSync(this.answers, this.buffer);
      if (length === 0)
        throw new Error(`no answer for ${JSON.stringify([pattern, flags, subject, start])}`);
      line += this.buffer.toString('latin1', 0, length);
    }
    line = line.trim();
    if (line === 'bad')
      return null;
    if (line === 'none')
      return [];
    if (line === 'stopped')
      throw new Error('the search takes too many steps');
    return line.split(' ').map((span) => (span === '-' ? undefined : span.split('-').map(Number)));
  }

  end() {
    fs.closeSync(this.questions);
    fs.closeSync(this.answers);
    fs.rmSync(this.folder, { recursive: true });
  }
}

function hex(text) {
  return text === '' ? '-' : Buffer.from(text, 'utf16le').swap16().toString('hex');
}

// The same questions, answered by the script engine.
class ScriptEngine {
  ask(pattern, flags, subject, start) {
    let regexp;
    try {
      regexp = new RegExp(pattern, flags.replace(/[gy]/g, '') + 'dg');
    } catch {
      return null;
    }
    regexp.lastIndex = start;
    const match = regexp.exec(subject);
    return match === null ? [] : Array.from(match.indices);
  }
}

// Within the context of a case: regular expressions that ask `judge`. It is a function of its own so
// that its text can be run there, and its objects are of that context.
function install(judge) {
  const nativeRegExp = RegExp;
  const nativeExec = RegExp.prototype.exec;
  const sourceOf = Object.getOwnPropertyDescriptor(RegExp.prototype, 'source').get;
  const flagsOf = Object.getOwnPropertyDescriptor(RegExp.prototype, 'flags').get;
  const apply = Reflect.apply;
  const originalPatterns = new WeakMap();

  const methods = {
    exec(subject) {
      let source;
      let flags = '';
      try {
        source = originalPatterns.get(this) ?? apply(sourceOf, this, []);
        for (const [letter, name] of [['g', 'global'], ['i', 'ignoreCase'], ['m', 'multiline'],
          ['s', 'dotAll'], ['u', 'unicode'], ['y', 'sticky'], ['d', 'hasIndices']]) {
          const getter = Object.getOwnPropertyDescriptor(nativeRegExp.prototype, name)?.get ??
            getters[name];
          if (getter && apply(getter, this, []))
            flags += letter;
        }
        if (this === nativeRegExp.prototype)
          return apply(nativeExec, this, [subject]);
      } catch {
        return apply(nativeExec, this, [subject]);
      }
      if (!judge.isShared(flags))
        return apply(nativeExec, this, [subject]);
      const text = `${subject}`;
      let start = Math.min(Math.max(Math.trunc(Number(this.lastIndex)) || 0, 0), 2 ** 53 - 1);
      const isGlobal = flags.includes('g');
      if (!isGlobal)
        start = 0;
      const spans = start > text.length ? [] : judge.ask(source, flags, text, start);
      if (spans === null)
        throw new SyntaxError(`the library finds /${source}/ bad`);
      if (spans.length === 0) {
        if (isGlobal)
          setLastIndex(this, 0);
        return null;
      }
      if (isGlobal)
        setLastIndex(this, spans[0][1]);
      const result = spans.map((span) => (span ? text.slice(span[0], span[1]) : undefined));
      const match = [];
      for (let i = 0; i < result.length; ++i)
        Object.defineProperty(match, i,
          { value: result[i], writable: true, enumerable: true, configurable: true });
      match.index = spans[0][0];
      match.input = text;
      match.groups = undefined;
      return match;
    },
  };
  const getters = {};
  for (const name of ['global', 'ignoreCase', 'multiline', 'dotAll', 'unicode', 'sticky', 'hasIndices'])
    getters[name] = Object.getOwnPropertyDescriptor(RegExp.prototype, name)?.get;

  function setLastIndex(regexp, index) {
    if (!Reflect.set(regexp, 'lastIndex', index, regexp))
      throw new TypeError('lastIndex is read-only');
  }

  Object.defineProperty(RegExp.prototype, 'exec',
    { value: methods.exec, writable: true, enumerable: false, configurable: true });

  // A compilation that the library and the script engine judge differently goes as the library says.
  function made(target, args, newTarget) {
    const isText = (value) => typeof value === 'string' || value === undefined;
    const [pattern, flags] = args;
    if (!isText(pattern) || !isText(flags) || !judge.isShared(flags ?? ''))
      return Reflect.construct(target, args, newTarget);
    const isGood = judge.ask(pattern ?? '', flags ?? '', '', 0) !== null;
    if (!isGood)
      throw new SyntaxError(`the library finds /${pattern}/ bad`);
    try {
      return Reflect.construct(target, args, newTarget);
    } catch {
      const regexp = Reflect.construct(target, ['(?:)', flags], newTarget);
      originalPatterns.set(regexp, pattern);
      return regexp;
    }
  }
  const replacement = new Proxy(nativeRegExp, {
    construct(target, args, newTarget) {
      return made(target, args, newTarget === replacement ? nativeRegExp : newTarget);
    },
    apply(target, self, args) {
      const [pattern, flags] = args;
      if (typeof pattern === 'object' && pattern !== null && flags === undefined) {
        const isLikeOne = pattern[Symbol.match] ?? originalPatterns.has(pattern);
        if (isLikeOne && pattern.constructor === replacement)
          return pattern;
      }
      return made(target, args, nativeRegExp);
    },
  });
  RegExp.prototype.constructor = replacement;
  Object.defineProperty(globalThis, 'RegExp',
    { value: replacement, writable: true, enumerable: false, configurable: true });
}

class Suite {
  constructor(root, library) {
    this.root = root;
    this.library = library;
    this.scriptEngine = new ScriptEngine();
    this.harness = new Map();
  }

  cases() {
    const found = [];
    const walk = (folder) => {
      for (const entry of fs.readdirSync(path.join(this.root, folder), { withFileTypes: true })) {
        const name = `${folder}/${entry.name}`;
        if (entry.isDirectory())
          walk(name);
        else if (name.endsWith('.js') && !/^(shell|browser)\.js$/.test(entry.name))
          found.push(name);
      }
    };
    folders.forEach(walk);
    return found.sort();
  }

  // The files shell.js from the root down to the case.
  harnessFor(name) {
    const parts = name.split('/');
    return parts.map((_, depth) => path.join(this.root, ...parts.slice(0, depth), 'shell.js'))
      .filter((file) => fs.existsSync(file))
      .map((file) => {
        if (!this.harness.has(file))
          this.harness.set(file, new vm.Script(fs.readFileSync(file, 'utf8'), { filename: file }));
        return this.harness.get(file);
      });
  }

  // { kind: 'foreign' | 'control' | 'passed' | 'failed', why }
  judge(name) {
    const text = fs.readFileSync(path.join(this.root, name), 'utf8');
    const header = /\/\*---([^]*?)---\*\//.exec(text)?.[1] ?? '';
    const feature = foreignFeatures.find((word) => header.includes(word));
    if (feature)
      return { kind: 'foreign', why: feature };
    if (/^negative:/m.test(header))
      return this.judgeLiteral(text);
    const control = this.run(name, text, this.scriptEngine);
    if (control.why)
      return { kind: 'control', why: control.why };
    if (control.questions === 0)
      return { kind: 'foreign', why: 'no pattern of the language' };
    const judged = this.run(name, text, this.library);
    return judged.why ? { kind: 'failed', why: judged.why } : { kind: 'passed' };
  }

  // A case whose literal must not compile.
  judgeLiteral(text) {
    const literal = /\$DONOTEVALUATE\(\);\s*\/(.*)\/([a-z]*);\s*(?:reportCompare.*)?$/.exec(text);
    if (!literal || !sharedFlags.test(literal[2]) || /^(?!$)(.).*\1/.test(literal[2]))
      return { kind: 'foreign', why: 'no pattern of the language' };
    if (this.scriptEngine.ask(literal[1], literal[2], '', 0) !== null)
      return { kind: 'control', why: 'the script engine compiles it' };
    return this.library.ask(literal[1], literal[2], '', 0) === null
      ? { kind: 'passed' } : { kind: 'failed', why: `/${literal[1]}/ compiles` };
  }

  run(name, text, answerer) {
    let questions = 0;
    const judge = {
      isShared: (flags) => sharedFlags.test(flags),
      ask: (...question) => {
        ++questions;
        return answerer.ask(...question);
      },
    };
    const context = vm.createContext({ console });
    try {
      // What the harness wants to find in its shell.
      vm.runInContext('function createIsHTMLDDA() { return {}; } function print() {}', context);
      for (const script of this.harnessFor(name))
        script.runInContext(context);
      vm.runInContext('function reportCompare() {}', context);
      vm.runInContext(`(${install})`, context)(judge);
      vm.runInContext(text, context, { filename: name, timeout: secondsForACase * 1000 });
    } catch (error) {
      return { questions, why: String(error?.message ?? error).split('\n')[0] };
    }
    return { questions };
  }
}

// Lines of: case, tab, decision; # begins a comment.
function readTable(file) {
  const lines = fs.readFileSync(file, 'utf8').split('\n').filter((line) => /^[^#\s]/.test(line));
  return new Map(lines.map((line) => line.split('\t').slice(0, 2)));
}

function main([root, program, tableFile, ...options]) {
  const isListing = options.includes('--list');
  const only = options.includes('--only') ? options[options.indexOf('--only') + 1] : '';
  const library = new Library(program);
  const suite = new Suite(root, library);
  const table = readTable(tableFile);
  const counts = { passed: 0, explained: 0, foreign: 0, control: 0, wrong: 0 };
  for (const name of suite.cases().filter((each) => each.includes(only))) {
    const result = suite.judge(name);
    const decision = table.get(name);
    table.delete(name);
    if (result.kind === 'failed' && decision) {
      ++counts.explained;
    } else if (result.kind === 'failed') {
      ++counts.wrong;
      console.log(`${name}: ${result.why}`);
    } else if (decision) {
      ++counts.wrong;
      console.log(`${name}: in the table, but ${result.kind}`);
    } else {
      ++counts[result.kind];
      if (isListing)
        console.log(`${result.kind} ${name}${result.why ? `: ${result.why}` : ''}`);
    }
  }
  for (const name of [...table.keys()].filter((each) => each.includes(only))) {
    ++counts.wrong;
    console.log(`${name}: in the table, but not in the suite`);
  }
  library.end();
  console.log(`${counts.passed} passed, ${counts.explained} differ as decided, ` +
    `${counts.foreign} not of the language, ${counts.control} fail without the library, ` +
    `${counts.wrong} wrong`);
  process.exitCode = counts.wrong === 0 && (counts.passed > 0 || only) ? 0 : 1;
}

main(process.argv.slice(2));
