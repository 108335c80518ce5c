// The example shows the address at which this very site is being read, and its command can be copied.
const command = document.getElementById("command");
const address = document.getElementById("address");

if (location.protocol.startsWith("http")) {
  address.textContent = location.origin + "/";
}

// Browsers offer the clipboard only to pages that they trust.
if (navigator.clipboard) {
  const button = document.createElement("button");
  button.type = "button";
  button.className = "copy";
  button.textContent = "Copy";
  button.addEventListener("click", async () => {
    try {
      await navigator.clipboard.writeText(command.textContent);
      button.textContent = "Copied";
    } catch {
      button.textContent = "Not allowed";
    }
    setTimeout(() => { button.textContent = "Copy"; }, 2000);
  });
  command.closest(".shell").append(button);
}
