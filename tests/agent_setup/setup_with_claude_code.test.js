// `vorno setup` against the real Claude Code command line, pinned in package-lock.json and
// installed by `make test` (npm ci). Each test runs in a home folder of its own, so the user's
// own Claude Code configuration is never read or changed. Claude Code's `mcp` commands work
// without a network; `claude mcp get` starts `vorno mcp` and completes the handshake to say
// "Connected".
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const sourceDir = process.env.VORNO_SOURCE_DIR ?? path.resolve(here, '../..');
const vorno = process.env.VORNO_BINARY;
const claudeFolder = path.join(here, 'node_modules', '.bin');
const claude = path.join(claudeFolder, 'claude');
const next = '\nNext: in your app\'s repo, ask Claude Code to "make App Store screenshots with Vorno".\n';

function freshHome(t) {
  const home = mkdtempSync(path.join(tmpdir(), 'vorno-agent-setup-'));
  t.after(() => rmSync(home, { recursive: true, force: true }));
  return home;
}

// Claude Code is found on PATH, as a user's npm install puts it there; nothing but the system's
// own folders besides. Non-essential traffic (updates, telemetry) is off: there is no network.
function environment(home) {
  return {
    HOME: home,
    PATH: `${claudeFolder}:/usr/bin:/bin`,
    LANG: 'C.UTF-8',
    CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC: '1',
    DISABLE_AUTOUPDATER: '1',
  };
}

function run(program, args, home, cwd = home) {
  const result = spawnSync(program, args, {
    cwd, env: environment(home), encoding: 'utf8', timeout: 180_000, stdio: ['ignore', 'pipe', 'pipe'],
  });
  if (result.error) throw result.error;
  return result;
}

function requireTools() {
  assert.ok(vorno, 'VORNO_BINARY names the vorno executable to test');
  assert.ok(existsSync(claude), 'Claude Code is missing: run `npm ci` in tests/agent_setup (make test does)');
}

test('setup installs the skill and registers a server that Claude Code reports Connected', (t) => {
  requireTools();
  const home = freshHome(t);
  const cli = realpathSync(vorno);
  const skill = path.join(home, '.claude', 'skills', 'vorno-screenshots');
  const expected = `Installed skill: ${skill}\n` +
    `Registered MCP server with Claude Code: vorno → ${cli} mcp\n` + next;

  const first = run(vorno, ['setup'], home);
  assert.equal(first.status, 0, first.stderr);
  assert.equal(first.stdout, expected);
  assert.equal(readFileSync(path.join(skill, 'SKILL.md'), 'utf8'),
    readFileSync(path.join(sourceDir, 'resources/skills/vorno-screenshots/SKILL.md'), 'utf8'));

  const get = run(claude, ['mcp', 'get', 'vorno'], home);
  assert.equal(get.status, 0, get.stdout + get.stderr);
  assert.match(get.stdout, new RegExp(`^\\s*Command: ${cli.replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}$`, 'm'));
  assert.match(get.stdout, /^\s*Args: mcp$/m);
  assert.match(get.stdout, /Connected/);

  // A second run replaces the skill (a hand edit is lost) and leaves one registration.
  writeFileSync(path.join(skill, 'SKILL.md'), 'edited by hand\n');
  const second = run(vorno, ['setup'], home);
  assert.equal(second.status, 0, second.stderr);
  assert.equal(second.stdout, expected);
  assert.notEqual(readFileSync(path.join(skill, 'SKILL.md'), 'utf8'), 'edited by hand\n');

  const list = run(claude, ['mcp', 'list'], home);
  assert.equal(list.status, 0, list.stderr);
  const entries = list.stdout.split('\n').filter((line) => line.startsWith('vorno:'));
  assert.deepEqual(entries, [`vorno: ${cli} mcp - ✔ Connected`]);
  const config = JSON.parse(readFileSync(path.join(home, '.claude.json'), 'utf8'));
  assert.deepEqual(Object.keys(config.mcpServers), ['vorno']);
  assert.equal(config.mcpServers.vorno.command, cli);
  assert.deepEqual(config.mcpServers.vorno.args, ['mcp']);
});

test('setup --project puts the skill in the project and still registers the server for the user', (t) => {
  requireTools();
  const home = freshHome(t);
  const app = path.join(home, 'work', 'app');
  mkdirSync(app, { recursive: true });
  const result = run(vorno, ['setup', '--project', app], home);
  assert.equal(result.status, 0, result.stderr);
  const skill = path.join(app, '.claude', 'skills', 'vorno-screenshots');
  assert.ok(result.stdout.startsWith(`Installed skill: ${skill}\n`), result.stdout);
  assert.ok(existsSync(path.join(skill, 'SKILL.md')));
  assert.ok(!existsSync(path.join(home, '.claude', 'skills', 'vorno-screenshots')));
  const get = run(claude, ['mcp', 'get', 'vorno'], home, app);
  assert.equal(get.status, 0, get.stdout + get.stderr);
  assert.match(get.stdout, /Scope: User config/);
});
