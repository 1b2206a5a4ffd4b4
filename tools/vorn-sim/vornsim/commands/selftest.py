"""`vorn selftest [--toolchain T] [--json]`: try each toolchain once for real, keep the results."""

import os
import random
import shutil
import time

from .. import events, state
from ..common import CommandError, load_config, parser, print_json, state_of
from .doctor import search_path


def try_toolchain(config, chain, route):
    """A toolchain passes unless its configured program is missing or it names a
    known failure in its model (`fail:<word>`), which is how a sandbox shows one."""
    began = time.monotonic()
    harness = chain.harness or "claude"
    model = chain.model or config.ship.agent_model or "standard"
    failure = None
    if chain.bin and not (os.path.isfile(chain.bin) or shutil.which(chain.bin, path=search_path(config))):
        failure, detail = "binary-not-found", f"{chain.bin} was not found on vorn's PATH."
    elif model.startswith("fail:"):
        failure = model[5:]
        detail = {"login-missing": f"{harness} is not signed in.",
                  "key-refused": "The tracker refused this seat's key.",
                  "keychain-locked": "The login keychain is locked."}.get(failure, f"{harness} failed: {failure}")
    else:
        detail = f"{harness} answered the test prompt."
    result = {"toolchain": chain.name, "harness": harness, "model": model, "ok": failure is None,
              "workspace": route.workspace if route else None, "failure": failure, "detail": detail,
              "tokens": None if failure else random.randint(900, 1600),
              "costUsd": None if failure else round(random.uniform(0.01, 0.04), 4),
              "ms": int((time.monotonic() - began) * 1000) + random.randint(1800, 4200),
              "ranAt": events.timestamp()}
    return {k: v for k, v in result.items() if v is not None}


def main(arguments):
    options = parser("selftest", "Make each toolchain answer a small prompt.")
    options.add_argument("--toolchain")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    config = load_config()
    chains = config.ship.toolchains or [config.toolchain_for(None)]
    if parsed.toolchain:
        chains = [c for c in chains if c.name == parsed.toolchain]
        if not chains:
            raise CommandError(f"no toolchain {parsed.toolchain} in {config.file}")
    results = [try_toolchain(config, chain, config.serving_route()) for chain in chains]
    stored_path = state_of(config).selftest_file
    with state.locked_json(stored_path, {}) as stored:
        for result in results:
            stored[result["toolchain"]] = result
    if parsed.json:
        print_json(results)
    else:
        for result in results:
            print(f"{'ok  ' if result['ok'] else 'FAIL'} {result['toolchain']} ({result['harness']}): "
                  f"{result['detail']}")
    return 0 if all(r["ok"] for r in results) else 1

