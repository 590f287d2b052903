"""What tests inside the virtual machine of scripts/test-machine use. See README.md."""
