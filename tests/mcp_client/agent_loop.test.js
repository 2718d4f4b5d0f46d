// An agent's whole loop against `vorno mcp`, driven by the official MCP TypeScript SDK client over
// stdio: initialise, list, read the guide, create a package, style it, write slides (one with a
// misspelled field), look at a slide, the overview, lint, export both layouts, make a variant, look
// at it and promote it. Every answer is checked for what an agent would act on.
import { test, before, after } from "node:test";
import assert from "node:assert/strict";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import jpeg from "jpeg-js";
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";

const vorno = process.env.VORNO_BINARY;
const sourceDir = process.env.VORNO_SOURCE_DIR;
assert.ok(vorno, "VORNO_BINARY names the program under test");

const folder = fs.mkdtempSync(path.join(os.tmpdir(), "vorno-mcp-client-"));
const repo = path.join(folder, "repo");
const pkg = path.join(repo, "store", "Crewday.vorno");
let client;

// Long calls (export) may take a while on a loaded machine; the client's clock restarts with
// every progress notification.
const slow = { timeout: 120000, resetTimeoutOnProgress: true };

async function call(name, args, options = slow) {
  return client.callTool({ name, arguments: args }, undefined, options);
}

function texts(result) {
  return result.content.filter((item) => item.type === "text").map((item) => item.text);
}

function jsonOf(result, index) {
  return JSON.parse(result.content[index].text);
}

function decodeJPEG(item) {
  assert.equal(item.type, "image");
  assert.equal(item.mimeType, "image/jpeg");
  return jpeg.decode(Buffer.from(item.data, "base64"), { useTArray: true });
}

before(async () => {
  fs.mkdirSync(path.join(repo, ".git"), { recursive: true });
  const transport = new StdioClientTransport({ command: vorno, args: ["mcp"], cwd: repo, stderr: "ignore" });
  client = new Client({ name: "claude-code", version: "1.0.0" });
  await client.connect(transport);
});

after(async () => {
  await client?.close();
  fs.rmSync(folder, { recursive: true, force: true });
});

test("initialize introduces the server with its instructions", () => {
  const info = client.getServerVersion();
  assert.equal(info.name, "vorno");
  assert.equal(info.title, "Vorno");
  assert.match(client.getInstructions(), /^Vorno makes App Store and Google Play screenshot sets\. Typical run:/);
  assert.deepEqual(client.getServerCapabilities().tools, { listChanged: false });
});

test("tools/list shows the 24 tools in order, every schema closed", async () => {
  const { tools } = await client.listTools();
  assert.equal(tools.length, 24);
  assert.deepEqual(tools.slice(0, 4).map((t) => t.name), ["project_create", "project_get", "project_update", "slide_upsert"]);
  assert.equal(tools[23].name, "variant_promote");
  for (const tool of tools) {
    assert.equal(tool.inputSchema.type, "object", tool.name);
    assert.equal(tool.inputSchema.additionalProperties, false, tool.name);
  }
  assert.equal(tools.find((t) => t.name === "project_get").annotations.readOnlyHint, true);
  assert.equal(tools.find((t) => t.name === "slide_delete").annotations.destructiveHint, true);
});

test("resources list the guide, targets and recipes; the guide reads as Markdown", async () => {
  const { resources } = await client.listResources();
  assert.deepEqual(resources.map((r) => r.uri), ["vorno://guide", "vorno://targets", "vorno://recipes"]);
  const guide = await client.readResource({ uri: "vorno://guide" });
  assert.equal(guide.contents[0].mimeType, "text/markdown");
  assert.ok(guide.contents[0].text.length > 5000);
  const targets = await client.readResource({ uri: "vorno://targets" });
  assert.match(targets.contents[0].text, /\| ios\.iphone-6\.9 \| 1320×2868 \|/);
  await assert.rejects(client.readResource({ uri: "vorno://nothing" }), /Unknown resource vorno:\/\/nothing/);
});

test("an agent builds, checks, exports and restyles a set", async (t) => {
  await t.test("creates the package inside the repository", async () => {
    const result = await call("project_create", { project: pkg, app_name: "Crewday", locales: ["en-US", "de-DE"] });
    assert.equal(result.isError, false, texts(result).join("\n"));
    assert.match(texts(result)[0], /^Created .*Crewday\.vorno\./);
    assert.doesNotMatch(texts(result)[0], /isn't inside a git repository/);
    assert.ok(fs.existsSync(path.join(pkg, "project.json")));
  });

  await t.test("sets a theme from the brand", async () => {
    const theme = { background: "#F4F1EA", invertedBackground: "#1D2B3A", foreground: "#1D2B3A",
      invertedForeground: "#F4F1EA", accent: "#E4572E", muted: "#5B6675", headlineWeight: "heavy" };
    const result = await call("project_update", { project: pkg, theme });
    assert.equal(result.isError, false, texts(result).join("\n"));
    assert.equal(texts(result)[0], "Saved.");
    assert.equal(JSON.parse(fs.readFileSync(path.join(pkg, "project.json"))).theme.accent, "#E4572E");
  });

  await t.test("upserts slides and hears of a misspelled field", async () => {
    const capture = path.join(sourceDir, "examples/Demo.vorno/captures/en-US/week.png");
    if (fs.existsSync(capture)) {
      fs.mkdirSync(path.join(pkg, "captures/en-US"), { recursive: true });
      fs.copyFileSync(capture, path.join(pkg, "captures/en-US/week.png"));
    }
    const first = await call("slide_upsert", { project: pkg, slide: {
      id: "plan", eyebrow: "Scheduling", headline: { "en-US": "Plan the **whole week**", "de-DE": "Plane die **ganze Woche**" },
      device: { screenshot: "captures/{locale}/week.png" } } });
    assert.equal(first.isError, false, texts(first).join("\n"));
    assert.match(texts(first)[0], /^Saved plan\. Order: plan\./);

    const second = await call("slide_upsert", { project: pkg, slide: {
      id: "quote", headlin: "Quotes in a minute", headline: { "en-US": "Quotes **in a minute**", "de-DE": "Angebote **in einer Minute**" } } });
    assert.equal(second.isError, false);
    assert.equal(texts(second)[0], "Saved quote. Order: plan, quote. 1 field was ignored (schema.unknown): fix it first.");
    const issues = jsonOf(second, 1);
    assert.ok(issues.some((issue) => issue.code === "schema.unknown" && /Did you mean headline\?/.test(issue.message)),
      JSON.stringify(issues));
  });

  await t.test("renders a slide: the full PNG on disk, a JPEG preview to look at", async () => {
    const result = await call("render_slide", { project: pkg, slide: "plan", preview_size: 600 });
    assert.equal(result.isError, false, texts(result).join("\n"));
    const image = decodeJPEG(result.content[0]);
    assert.equal(Math.max(image.width, image.height), 600);
    assert.equal(image.height, 600);
    // Not a blank picture: the headline and the device draw something other than the background.
    const seen = new Set();
    for (let i = 0; i < image.data.length; i += 4 * 97) seen.add((image.data[i] >> 4) * 256 + (image.data[i + 1] >> 4) * 16 + (image.data[i + 2] >> 4));
    assert.ok(seen.size > 8, `only ${seen.size} colours in the preview`);
    const out = jsonOf(result, 1);
    assert.ok(fs.existsSync(out.file));
    assert.equal(path.basename(out.file), "plan__ios.iphone-6.9__en-US.png");
    const png = fs.readFileSync(out.file);
    assert.equal(png.readUInt32BE(16), 1320);
    assert.equal(png.readUInt32BE(20), 2868);
  });

  await t.test("renders the overview with the story outline", async () => {
    const result = await call("render_overview", { project: pkg, locale: "de-DE" });
    assert.equal(result.isError, false, texts(result).join("\n"));
    const image = decodeJPEG(result.content[0]);
    assert.ok(Math.max(image.width, image.height) <= 2000);
    assert.ok(texts(result).some((text) => text.startsWith("Story (de-DE):\n")));
  });

  await t.test("lints without failing the call", async () => {
    const result = await call("lint", { project: pkg });
    assert.equal(result.isError, false);
    assert.match(texts(result)[0], /^(\d+ issue\(s\)\.|No issues\.)$/);
    assert.ok(Array.isArray(jsonOf(result, 1)));
  });

  await t.test("exports both layouts with progress along the way", async () => {
    const progress = [];
    const vornoLayout = await call("export", { project: pkg }, { ...slow, onprogress: (p) => progress.push(p) });
    assert.equal(vornoLayout.isError, false, texts(vornoLayout).join("\n"));
    assert.match(texts(vornoLayout)[0], /^Wrote 4 files to .*exports\./);
    for (const locale of ["en-US", "de-DE"])
      for (const file of ["01-plan.png", "02-quote.png"])
        assert.ok(fs.existsSync(path.join(pkg, "exports/ios/ios.iphone-6.9", locale, file)), `${locale}/${file}`);
    assert.ok(progress.length >= 1, "progress notifications arrived");
    for (let i = 1; i < progress.length; ++i) assert.ok(progress[i].progress > progress[i - 1].progress);
    assert.equal(progress.at(-1).total, progress.at(-1).progress);

    const fastlane = await call("export", { project: pkg, layout: "fastlane" });
    assert.equal(fastlane.isError, false, texts(fastlane).join("\n"));
    const summary = jsonOf(fastlane, 1);
    assert.equal(summary.files.length, 4);
    for (const file of summary.files) assert.ok(fs.existsSync(file), file);
  });

  await t.test("makes a variant, looks at it and promotes it", async () => {
    const saved = await call("variant_upsert", { project: pkg, id: "bold", name: "Bold", patch: { slides: { plan: { inverted: true } } } });
    assert.equal(saved.isError, false, texts(saved).join("\n"));
    assert.match(texts(saved)[0], /^Saved variant bold\. Variants: bold\. Render it with "variant": "bold"\./);

    const look = await call("render_slide", { project: pkg, slide: "plan", variant: "bold" });
    assert.equal(look.isError, false, texts(look).join("\n"));
    assert.equal(path.basename(jsonOf(look, 1).file), "bold__plan__ios.iphone-6.9__en-US.png");
    decodeJPEG(look.content[0]);

    const promoted = await call("variant_promote", { project: pkg, id: "bold" });
    assert.equal(promoted.isError, false, texts(promoted).join("\n"));
    assert.equal(texts(promoted)[0], "bold is the base now. Variants: previous-base.");
    const project = JSON.parse(fs.readFileSync(path.join(pkg, "project.json")));
    assert.equal(project.slides.find((s) => s.id === "plan").inverted, true);
  });

  await t.test("every call was logged for the watching user under the client's name", () => {
    const events = fs.readFileSync(path.join(pkg, ".activity.jsonl"), "utf8").trim().split("\n").map((line) => JSON.parse(line));
    assert.ok(events.length >= 2 * 10);
    assert.ok(events.every((event) => event.agent === "Claude"));
    // The log never creates a package, so project_create's start had nowhere to go.
    assert.deepEqual(events.filter((event) => event.tool === "project_create").map((event) => event.phase), ["finished"]);
    const edits = events.filter((event) => event.tool === "slide_upsert");
    assert.deepEqual(edits.map((event) => event.phase), ["started", "finished", "started", "finished"]);
    assert.equal(edits[0].id, edits[1].id);
    assert.notEqual(edits[1].id, edits[2].id);
    assert.equal(edits[0].summary, "Edited slide plan");
  });
});

test("a failing tool answers with words, not a protocol error", async () => {
  const result = await call("project_get", {});
  assert.equal(result.isError, true);
  assert.equal(texts(result)[0], "project_get: project is required.");
  const unknown = await call("no_such_tool", {});
  assert.equal(unknown.isError, true);
  assert.equal(texts(unknown)[0], "Unknown tool no_such_tool.");
});
