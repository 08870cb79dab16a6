// node build.mjs [--outdir=DIR]   builds the page
// node build.mjs --test           bundles the tests and runs them on Node's own runner
import { spawnSync } from "node:child_process";
import { copyFileSync, mkdirSync, mkdtempSync, readdirSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

// What fabric uses for things that the page never does (gestures, running without a browser).
// npm installs these optional packages all the same; they stay out of the page.
const absent = ["canvas", "jsdom", "westures"];

const here = dirname(fileURLToPath(import.meta.url));
const option = (name) => process.argv.find((a) => a.startsWith(`--${name}=`))?.slice(name.length + 3);

async function buildPage(outdir) {
  mkdirSync(outdir, { recursive: true });
  const scripts = {
    editor: { entryPoints: [join(here, "src/main.ts")] },
    encoder: { entryPoints: [join(here, "src/encoder.ts")] }, // a worker
  };
  for (const [name, script] of Object.entries(scripts)) {
    await build({
      ...script,
      outfile: join(outdir, `${name}.js`),
      bundle: true,
      minify: true,
      format: "iife",
      target: "es2022",
      external: absent,
      charset: "utf8",
      legalComments: "linked",
      logLevel: "warning",
    });
  }
  for (const file of ["index.html", "style.css"]) copyFileSync(join(here, file), join(outdir, file));
}

async function runTests() {
  const outdir = mkdtempSync(join(tmpdir(), "quillory-editor-test-"));
  try {
    const tests = readdirSync(join(here, "test")).filter((f) => f.endsWith(".test.mjs"));
    await build({
      entryPoints: tests.map((f) => join(here, "test", f)),
      outdir,
      outExtension: { ".js": ".mjs" },
      bundle: true,
      platform: "node",
      format: "esm",
      sourcemap: "inline",
      logLevel: "warning",
    });
    const files = readdirSync(outdir).map((f) => join(outdir, f));
    return spawnSync(process.execPath, ["--enable-source-maps", "--test", ...files], {
      stdio: "inherit",
      env: { ...process.env, QUILLORY_PAGE_SOURCES: here },
    }).status ?? 1;
  } finally {
    rmSync(outdir, { recursive: true, force: true });
  }
}

if (process.argv.includes("--test")) process.exitCode = await runTests();
else await buildPage(resolve(option("outdir") ?? join(here, "dist")));
